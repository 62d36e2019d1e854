#include "cert/utils/KeyStrengthParserFactory.h"

#include "cert/utils/KeyStrengthParserImpl.h"

namespace zeb::cert {

KeyStrengthParserFactory::~KeyStrengthParserFactory() = default;

std::shared_ptr<KeyStrengthParser> KeyStrengthParserFactory::buildKeyStrengthParser() {
    return std::make_shared<KeyStrengthParserImpl>();
}

}  // namespace zeb::cert

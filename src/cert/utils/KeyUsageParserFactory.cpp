#include "cert/utils/KeyUsageParserFactory.h"

#include "cert/utils/KeyUsageParserImpl.h"

namespace zeb::cert {

KeyUsageParserFactory::~KeyUsageParserFactory() = default;

std::shared_ptr<KeyUsageParser> KeyUsageParserFactory::buildKeyUsageParser() {
    return std::make_shared<KeyUsageParserImpl>();
}

}  // namespace zeb::cert

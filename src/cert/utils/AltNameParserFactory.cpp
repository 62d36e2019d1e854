#include "cert/utils/AltNameParserFactory.h"

#include "cert/utils/AltNameParserImpl.h"

namespace zeb::cert {

AltNameParserFactory::~AltNameParserFactory() = default;

std::shared_ptr<AltNameParser> AltNameParserFactory::buildAltNameParser(bool ccMode) {
    return std::make_shared<AltNameParserImpl>(ccMode);
}

}  // namespace zeb::cert

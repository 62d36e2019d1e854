#include "cert/utils/AltNameParser.h"

namespace zeb::cert {

AltNameParser::~AltNameParser() = default;

}  // namespace zeb::cert

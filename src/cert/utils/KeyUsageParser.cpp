#include "cert/utils/KeyUsageParser.h"

namespace zeb::cert {

KeyUsageParser::~KeyUsageParser() = default;

}  // namespace zeb::cert

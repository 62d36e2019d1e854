#include "cert/utils/KeyStrengthParser.h"

namespace zeb::cert {

KeyStrengthParser::~KeyStrengthParser() = default;

}  // namespace zeb::cert

#include "common/EmailAddressParser.h"

#include "core/Log.h"

namespace zeb::common {

EmailAddressParser::EmailAddressParser(const std::string& address) : username_(address) {
    if (address.empty()) {
        ZEB_LOG_WARNING(log::common(), "Email Address is blank.");
        return;
    }
    const std::string::size_type at = address.rfind('@');
    if (at == std::string::npos) {
        ZEB_LOG_WARNING(log::common(), "Malformed Email Address.");
        return;
    }
    domain_ = address.substr(at + 1);
    username_ = address.substr(0, at);
}

}  // namespace zeb::common

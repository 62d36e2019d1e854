#include "http/ProxyType.h"

namespace zeb::http {

std::ostream& operator<<(std::ostream& stream, ProxyType::Type type) {
    switch (type) {
        case ProxyType::HTTP:
            return stream << "HTTP";
        case ProxyType::HTTP_1_0:
            return stream << "HTTP 1.0";
        case ProxyType::SOCKS_4:
            return stream << "SOCKS 4";
        case ProxyType::SOCKS_4A:
            return stream << "SOCKS 4A";
        case ProxyType::SOCKS_5:
            return stream << "SOCKS 5";
        case ProxyType::SOCKS_5_HOSTNAME:
            return stream << "SOCKS 5 HOSTNAME";
    }
    return stream << static_cast<int>(type);
}

std::ostream& operator<<(std::ostream& stream, ProxyAuthentication::Type type) {
    switch (type) {
        case ProxyAuthentication::ANY:
            return stream << "ANY";
        case ProxyAuthentication::BASIC:
            return stream << "BASIC";
        case ProxyAuthentication::DIGEST:
            return stream << "DIGEST";
        case ProxyAuthentication::NTLM:
            return stream << "NTLM";
        case ProxyAuthentication::NEGOTIATE:
            return stream << "NEGOTIATE";
    }
    return stream << static_cast<int>(type);
}

}  // namespace zeb::http

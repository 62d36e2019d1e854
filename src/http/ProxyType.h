#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::http {

/// What kind of proxy it is.
struct ProxyType {
    enum Type {
        HTTP = 0,
        HTTP_1_0 = 1,
        SOCKS_4 = 2,
        SOCKS_4A = 3,
        SOCKS_5 = 4,
        SOCKS_5_HOSTNAME = 5,
    };
};

/// What scheme the credentials for a proxy are used with.
struct ProxyAuthentication {
    enum Type {
        ANY = 0,
        BASIC = 1,
        DIGEST = 2,
        NTLM = 3,
        NEGOTIATE = 4,
    };
};

/// "HTTP", "HTTP 1.0", "SOCKS 4", "SOCKS 4A", "SOCKS 5", "SOCKS 5 HOSTNAME"; any other value prints as its
/// number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, ProxyType::Type type);

/// "ANY", "BASIC", "DIGEST", "NTLM", "NEGOTIATE"; any other value prints as its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, ProxyAuthentication::Type type);

}  // namespace zeb::http

#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::ip {

/// Tells a bare host from a URL or a host with a port. Stateless; any thread may call; never throws unless
/// memory runs out.
class ZEBNETUTILS_EXPORT HostnameValidator {
public:
    HostnameValidator() = delete;

    /// True for a text that is not empty and has no scheme, no path and no port. It says nothing about
    /// whether the name could exist: characters (a "?" or a NUL among them) and the lengths of labels are not
    /// looked at. An IPv6 address is valid as it is and invalid in brackets.
    static bool isValidHostname(const std::string& host);
};

}  // namespace zeb::ip

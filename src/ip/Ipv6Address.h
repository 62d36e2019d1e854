#pragma once

#include "core/Export.h"
#include "ip/IpAddress.h"

#include <string>

namespace zeb::ip {

/// An IpAddress that is an IPv6 address or empty. It adds no data: a copy into an IpAddress loses nothing.
class ZEBNETUTILS_EXPORT Ipv6Address : public IpAddress {
public:
    /// The address that the text is by IpUtils::isIpv6Address; else an empty one.
    static Ipv6Address createIpv6Address(const std::string& address);

    /// An empty address.
    Ipv6Address() = default;

private:
    using IpAddress::IpAddress;
};

}  // namespace zeb::ip

#pragma once

#include "core/Export.h"
#include "ip/IpAddress.h"

#include <string>

namespace zeb::ip {

/// An IpAddress that is an IPv4 address or empty. It adds no data: a copy into an IpAddress loses nothing.
class ZEBNETUTILS_EXPORT Ipv4Address : public IpAddress {
public:
    /// The address that the text is by IpUtils::isIpv4Address; else an empty one.
    static Ipv4Address createIpv4Address(const std::string& address);

    /// An empty address.
    Ipv4Address() = default;

private:
    using IpAddress::IpAddress;
};

}  // namespace zeb::ip

#include "ip/Ipv6Address.h"

#include "ip/IpUtils.h"

namespace zeb::ip {

Ipv6Address Ipv6Address::createIpv6Address(const std::string& address) {
    return IpUtils::isIpv6Address(address) ? Ipv6Address(address) : Ipv6Address();
}

}  // namespace zeb::ip

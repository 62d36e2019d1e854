#include "ip/Ipv4Address.h"

#include "ip/IpUtils.h"

namespace zeb::ip {

Ipv4Address Ipv4Address::createIpv4Address(const std::string& address) {
    return IpUtils::isIpv4Address(address) ? Ipv4Address(address) : Ipv4Address();
}

}  // namespace zeb::ip

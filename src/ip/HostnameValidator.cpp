#include "ip/HostnameValidator.h"

#include "http/HttpUtils.h"
#include "ip/IpUtils.h"

namespace zeb::ip {

using http::HttpUtils;

bool HostnameValidator::isValidHostname(const std::string& host) {
    if (host.empty()) {
        return false;
    }
    if (!HttpUtils::extractProtocolFromHttpUrl(host).empty()) {
        return false;
    }
    if (!HttpUtils::extractRequestFromHttpUrl("http://" + host).empty()) {
        return false;
    }
    // A bracketed IPv6 address is not one to the resolver, so it fails as a name with a port would: callers
    // of appendPortToAddress rely on never getting the brackets twice.
    const char* const mark = IpUtils::isIpv6Address(host) ? "]:" : ":";
    return host.find(mark) == std::string::npos;
}

}  // namespace zeb::ip

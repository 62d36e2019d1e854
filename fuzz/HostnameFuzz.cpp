#include "Require.h"
#include "http/HttpUtils.h"
#include "ip/HostnameValidator.h"
#include "ip/IpAddress.h"
#include "ip/IpUtils.h"
#include "ip/Ipv4Address.h"
#include "ip/Ipv6Address.h"
#include "zeblogger/ZEBLogger.h"

#include <cstddef>
#include <cstdint>
#include <netdb.h>
#include <string>
#include <sys/socket.h>

using namespace zeb::ip;
using zeb::http::HttpUtils;

namespace {

int resolverFamily(const std::string& text) {
    if (text.find('\0') != std::string::npos) {
        return AF_UNSPEC;
    }
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* result = nullptr;
    if (getaddrinfo(text.c_str(), nullptr, &hints, &result) != 0) {
        return AF_UNSPEC;
    }
    const int family = result->ai_family;
    freeaddrinfo(result);
    return family;
}

void checkAddress(const std::string& text) {
    const int family = resolverFamily(text);
    ZEB_REQUIRE(IpUtils::isIpv4Address(text) == (family == AF_INET));
    ZEB_REQUIRE(IpUtils::isIpv6Address(text) == (family == AF_INET6));
    const IpAddress address = IpAddress::createIpAddress(text);
    ZEB_REQUIRE(address.isEmpty() == (family == AF_UNSPEC));
    ZEB_REQUIRE(address.isEmpty() || address.getAddress() == text);
    ZEB_REQUIRE(Ipv4Address::createIpv4Address(text).isEmpty() == (family != AF_INET));
    ZEB_REQUIRE(Ipv6Address::createIpv6Address(text).isEmpty() == (family != AF_INET6));
    const std::size_t bytes = address.getBytes().size();
    ZEB_REQUIRE(bytes == 0 || bytes == (family == AF_INET ? 4U : 16U));
    ZEB_REQUIRE(IpAddress(address).getBytes() == address.getBytes());
}

void checkPort(const std::string& host) {
    const bool valid = HostnameValidator::isValidHostname(host);
    const std::string withPort = IpUtils::appendPortToAddress(host, 8443U);
    ZEB_REQUIRE(withPort.empty() == !valid);
    if (valid) {
        const std::string url = "https://" + withPort + "/a";
        ZEB_REQUIRE(HttpUtils::extractHostFromHttpUrl(url) == host);
        ZEB_REQUIRE(HttpUtils::extractPortFromHttpUrl(url) == 8443);
        ZEB_REQUIRE(HttpUtils::extractRequestFromHttpUrl(url) == "/a");
        ZEB_REQUIRE(!HostnameValidator::isValidHostname(withPort));
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    LogController::getInstance()->setLevel(0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkAddress(text);
    checkPort(text);
    return 0;
}

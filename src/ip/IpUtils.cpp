#include "ip/IpUtils.h"

#include "core/Log.h"
#include "ip/HostnameValidator.h"
#include "ip/NumericAddress.h"

#include <limits>

#include <curl/curl.h>

namespace zeb::ip {
namespace {

std::string addressFromCurl(CURL* handle, CURLINFO which) {
    const char* address = nullptr;
    const CURLcode code = curl_easy_getinfo(handle, which, &address);
    if (code != CURLE_OK) {
        ZEB_LOG_ERROR(log::ip(), "Unable to get IP address information from the Curl handle: " << code);
        return {};
    }
    return address == nullptr ? std::string() : std::string(address);
}

}  // namespace

bool IpUtils::isIpAddress(const std::string& text) {
    return numericFamily(text) != NumericFamily::NONE;
}

bool IpUtils::isIpv4Address(const std::string& text) {
    return numericFamily(text) == NumericFamily::IPV4;
}

bool IpUtils::isIpv6Address(const std::string& text) {
    return numericFamily(text) == NumericFamily::IPV6;
}

std::string IpUtils::appendPortToAddress(const std::string& address, unsigned short port) {
    if (!HostnameValidator::isValidHostname(address)) {
        ZEB_LOG_WARNING(log::ip(),
                        "Unable to append a port to the provided address. It is not a valid hostname: "
                            << ZEBLogger_replacePIIData(address));
        return {};
    }
    if (port == 0) {
        ZEB_LOG_WARNING(log::ip(),
                        "Unable to append the port to the provided hostname. The port must not be 0");
        return {};
    }
    const std::string portText = std::to_string(port);
    return isIpv6Address(address) ? "[" + address + "]:" + portText : address + ":" + portText;
}

std::string IpUtils::appendPortToAddress(const std::string& address, unsigned int port) {
    if (port > std::numeric_limits<unsigned short>::max()) {
        ZEB_LOG_WARNING(log::ip(), "The provided port number is out of range: " << port);
        return {};
    }
    return appendPortToAddress(address, static_cast<unsigned short>(port));
}

bool IpUtils::getIpAddressesFromCurl(void* handle, std::string& local, std::string& destination) {
    local.clear();
    destination.clear();
    if (handle == nullptr) {
        return false;
    }
    local = addressFromCurl(handle, CURLINFO_LOCAL_IP);
    destination = addressFromCurl(handle, CURLINFO_PRIMARY_IP);
    return !local.empty() || !destination.empty();
}

}  // namespace zeb::ip

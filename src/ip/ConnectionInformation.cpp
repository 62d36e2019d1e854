#include "ip/ConnectionInformation.h"

#include "common/DefaultPoliciesStore.h"
#include "core/Log.h"
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"
#include "ip/HostnameValidator.h"
#include "ip/IpUtils.h"

#include <limits>
#include <utility>

// The option that names protocols by a bit mask is marked deprecated; its successor is younger than the
// oldest libcurl that the library works with.
#ifndef CURL_DISABLE_DEPRECATION
#define CURL_DISABLE_DEPRECATION
#endif
#include <curl/curl.h>

namespace zeb::ip {

using common::Policy;

namespace {

constexpr unsigned long MAX_TIMEOUT = std::numeric_limits<long>::max();
constexpr unsigned long MAX_PORT = std::numeric_limits<unsigned short>::max();

bool areValid(const std::string& host, unsigned long port, unsigned long timeoutSeconds) {
    if (timeoutSeconds > MAX_TIMEOUT) {
        ZEB_LOG_ERROR(log::ip(), "A timeout greater than 9223372036854775807 has been passed in.");
        return false;
    }
    if (port == 0 || port > MAX_PORT) {
        ZEB_LOG_ERROR(log::ip(),
                      "An invalid port has been passed in, cannot connect to the remote endpoint. Ensure the "
                      "port is between 1 and 65535.");
        return false;
    }
    // libcurl would see only what stands before a NUL, which is another host.
    if (!HostnameValidator::isValidHostname(host) || host.find('\0') != std::string::npos) {
        ZEB_LOG_ERROR(log::ip(), "The hostname '" << ZEBLogger_replacePIIData(host) << "' is not valid.");
        return false;
    }
    return true;
}

std::string withBracketsIfIpv6(const std::string& host) {
    const bool isBare = IpUtils::isIpv6Address(host) && host.find_first_of("[]") == std::string::npos;
    return isBare ? "[" + host + "]" : host;
}

template <typename Value>
bool setOption(CURL* handle, CURLoption option, Value value, const char* what) {
    const CURLcode code = curl_easy_setopt(handle, option, value);
    if (code != CURLE_OK) {
        ZEB_LOG_ERROR(log::ip(), "Curl was unable to set the " << what << " option on the request: " << code);
    }
    return code == CURLE_OK;
}

bool setIpResolve(CURL* handle, long value, const char* failure) {
    const bool isSet = curl_easy_setopt(handle, CURLOPT_IPRESOLVE, value) == CURLE_OK;
    if (!isSet) {
        ZEB_LOG_ERROR(log::ip(), failure);
    }
    return isSet;
}

ConnectionInformationResult::Result resultOf(CURLcode code) {
    switch (code) {
        case CURLE_OK:
            return ConnectionInformationResult::Success;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_INTERFACE_FAILED:
            return ConnectionInformationResult::ErrorCouldNotConnect;
        default:
            return ConnectionInformationResult::ErrorInternal;
    }
}

ConnectionInformationResult failure(ConnectionInformationResult::Result result) {
    return {result, IpAddress::createIpAddress(""), IpAddress::createIpAddress("")};
}

ConnectionInformationResult perform(CURL* handle) {
    const CURLcode code = curl_easy_perform(handle);
    ConnectionInformationResult result = failure(resultOf(code));
    if (code != CURLE_OK) {
        ZEB_LOG_WARNING(log::ip(),
                        "Curl was unable to perform the request and returned result code: " << code);
        return result;
    }
    std::string local;
    std::string destination;
    if (IpUtils::getIpAddressesFromCurl(handle, local, destination)) {
        result.localAddress = IpAddress::createIpAddress(local);
        result.destinationAddress = IpAddress::createIpAddress(destination);
    }
    return result;
}

}  // namespace

std::shared_ptr<ConnectionInformation> ConnectionInformation::buildConnectionInformation() {
    auto information = std::make_shared<ConnectionInformation>(true);
    common::DefaultPoliciesStore::registerForDefaultPoliciesChanges(information);
    return information;
}

std::shared_ptr<ConnectionInformation> ConnectionInformation::buildConnectionInformationWithStaticPolicy(
    std::shared_ptr<Policy> policy) {
    auto information = std::make_shared<ConnectionInformation>(false);
    information->addPolicy(std::move(policy));
    return information;
}

ConnectionInformation::ConnectionInformation(bool followDefaults) : PolicyDriven(followDefaults) {}

ConnectionInformation::~ConnectionInformation() = default;

std::shared_ptr<http::SystemProxyResolver> ConnectionInformation::systemProxyResolver() const {
    return std::make_shared<http::SystemProxyResolver>();
}

ConnectionInformationResult ConnectionInformation::getConnectionInformationForHost(
    const std::string& host, unsigned long port, unsigned long timeoutSeconds, bool thruProxy,
    IpFamilyPreferencePolicy::PolicyValue::Value policyValue) {
    ZEB_LOG_INFO(log::ip(), "hostname '" << ZEBLogger_replacePIIData(host) << "' port '" << port
                                         << "' timeout '" << timeoutSeconds << "' thruProxy '" << thruProxy
                                         << "' policyValue '" << policyValue << "'");
    if (!areValid(host, port, timeoutSeconds)) {
        return failure(ConnectionInformationResult::ErrorInvalidParameter);
    }
    ConnectionInformationResult result =
        connect(withBracketsIfIpv6(host), port, timeoutSeconds, thruProxy, policyValue);
    ZEB_LOG_INFO(log::ip(), result);
    return result;
}

ConnectionInformationResult ConnectionInformation::connect(
    const std::string& host, unsigned long port, unsigned long timeoutSeconds, bool thruProxy,
    IpFamilyPreferencePolicy::PolicyValue::Value policyValue) const {
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(), curl_easy_cleanup);
    if (handle == nullptr) {
        ZEB_LOG_ERROR(log::ip(), "Curl was unable to create an easy handle.");
        return failure(ConnectionInformationResult::ErrorInternal);
    }
    if (!setCurlOptions(handle.get(), host, port, timeoutSeconds, thruProxy) ||
        !setIpFamily(handle.get(), policyValue)) {
        return failure(ConnectionInformationResult::ErrorInternal);
    }
    return perform(handle.get());
}

/// The order is that in which a failure ends it. The certificate doesn't matter: no secret is sent.
bool ConnectionInformation::setCurlOptions(void* handle, const std::string& host, unsigned long port,
                                           unsigned long timeoutSeconds, bool thruProxy) const {
    const auto seconds = static_cast<long>(timeoutSeconds);
    return setOption(handle, CURLOPT_DEFAULT_PROTOCOL, "http", "DEFAULT_PROTOCOL") &&
           setOption(handle, CURLOPT_URL, host.c_str(), "URL") && setProxyOption(handle, host, thruProxy) &&
           setOption(handle, CURLOPT_PORT, static_cast<long>(port), "port") &&
           setOption(handle, CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP), "protocols") &&
           setOption(handle, CURLOPT_CONNECT_ONLY, 1L, "connect only") &&
           setOption(handle, CURLOPT_SSL_VERIFYPEER, 0L, "verify peer") &&
           setOption(handle, CURLOPT_SSL_VERIFYHOST, 0L, "verify host") &&
           setOption(handle, CURLOPT_CONNECTTIMEOUT, seconds, "connection timeout") &&
           setOption(handle, CURLOPT_TIMEOUT, seconds, "timeout") &&
           setOption(handle, CURLOPT_NOSIGNAL, 1L, "no signal");
}

/// With a proxy nothing is set: libcurl is left to find it by itself.
bool ConnectionInformation::setProxyOption(void* handle, const std::string& host, bool thruProxy) const {
    if (thruProxy && !hasSystemProxy(host)) {
        ZEB_LOG_INFO(log::ip(), "No proxy found for the request: " << ZEBLogger_replacePIIData(host));
        thruProxy = false;
    }
    if (thruProxy) {
        return true;
    }
    ZEB_LOG_INFO(log::ip(), "Set the no proxy option on the request: " << ZEBLogger_replacePIIData(host));
    return setOption(handle, CURLOPT_NOPROXY, "*", "no proxy");
}

bool ConnectionInformation::hasSystemProxy(const std::string& host) const {
    const auto resolver = systemProxyResolver();
    if (resolver == nullptr) {
        return false;
    }
    // Deliberately so: a host whose name begins with "http" is taken for a URL as it stands.
    const std::string url = host.rfind("http", 0) == 0 ? host : "http://" + host;
    const auto proxy = resolver->resolveSystemProxy(url);
    return proxy != nullptr && !proxy->getURL().empty();
}

bool ConnectionInformation::setIpFamily(void* handle,
                                        IpFamilyPreferencePolicy::PolicyValue::Value policyValue) const {
    switch (policyValue) {
        case IpFamilyPreferencePolicy::PolicyValue::IPV4_ONLY:
            return setIpResolve(handle, CURL_IPRESOLVE_V4, "Curl was unable to set the ipresolve option v4.");
        case IpFamilyPreferencePolicy::PolicyValue::IPV6_ONLY:
            return setIpResolve(handle, CURL_IPRESOLVE_V6, "Curl was unable to set the ipresolve option v6.");
        default:
            return enforceIpFamilyPolicy(handle);
    }
}

bool ConnectionInformation::enforceIpFamilyPolicy(void* handle) const {
    const auto policy = getPolicy(IpFamilyPreferencePolicy::NATURE);
    if (policy->getNature() == Policy::PolicyNature::UNKNOWN) {
        ZEB_LOG_DEBUG(log::ip(), "IP family policy not available.");
        return true;
    }
    const auto family = std::dynamic_pointer_cast<const IpFamilyPreferencePolicy>(policy);
    if (family != nullptr && family->enforce(handle) == Policy::PolicyEnforcingResult::SUCCESS) {
        return true;
    }
    if (policyFailureCanBeIgnored(*policy)) {
        ZEB_LOG_WARNING(log::ip(), "IP family policy enforcement failed but the policy can be ignored.");
        return true;
    }
    ZEB_LOG_ERROR(log::ip(), "IP family policy enforcement failed and policy cannot be ignored.");
    return false;
}

}  // namespace zeb::ip

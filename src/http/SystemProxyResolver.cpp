#include "http/SystemProxyResolver.h"

#include "core/Log.h"
#include "core/ScopedLock.h"
#include "http/HttpProxyConfigurationReader.h"
#include "http/Proxy.h"
#include "http/SystemProxyUsagePolicy.h"

#include <utility>

namespace zeb::http {

using common::Policy;

SystemProxyResolver::SystemProxyResolver()
    : PolicyDriven(false), reader_(std::make_shared<HttpProxyConfigurationReader>()) {}

SystemProxyResolver::~SystemProxyResolver() = default;

void SystemProxyResolver::setHttpProxyConfigurationReader(
    std::shared_ptr<HttpProxyConfigurationReader> reader) {
    if (reader == nullptr) {
        reader = std::make_shared<HttpProxyConfigurationReader>();
    }
    const ScopedLock lock(mutex_);
    reader_ = std::move(reader);
    resolved_ = false;
}

std::shared_ptr<Proxy> SystemProxyResolver::cachedProxyFor(const std::string& url) {
    const ScopedLock lock(mutex_);
    if (!resolved_ || url != cachedUrl_) {
        resolved_ = true;
        cachedUrl_ = url;
        cachedProxy_ = reader_->getHttpProxyForUrl(url);
    }
    return cachedProxy_;
}

std::shared_ptr<Proxy> SystemProxyResolver::resolveSystemProxy(const std::string& url) {
    std::shared_ptr<Proxy> proxy = cachedProxyFor(url);
    const std::shared_ptr<Policy> policy = getPolicy(Policy::PolicyNature::SYSTEM_PROXY_USAGE);
    if (policy == nullptr) {
        ZEB_LOG_WARNING(log::httpClient(), "SystemProxyUsagePolicy is null and has not been enforced.");
    } else if (policy->getNature() == Policy::PolicyNature::UNKNOWN) {
        ZEB_LOG_DEBUG(log::httpClient(), "System Proxy Usage policy not available.");
    } else if (std::static_pointer_cast<SystemProxyUsagePolicy>(policy)->enforce(proxy) !=
               Policy::PolicyEnforcingResult::SUCCESS) {
        ZEB_LOG_WARNING(log::httpClient(),
                        "System Proxy Usage Policy enforcement failed and policy is to be ignored.");
    }
    return proxy;
}

}  // namespace zeb::http

#include "http/UnresolvedHostCache.h"

#include "core/Log.h"
#include "core/ScopedLock.h"
#include "dns/DnsHostResolver.h"
#include "http/HttpUtils.h"
#include "ip/IpUtils.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace zeb::http {

namespace {

/// From here on a new failure first makes room: hosts that nobody asks for again would stay for ever.
constexpr std::size_t MANY_HOSTS = 1024;

constexpr char FILE_SCHEME[] = "file";

std::string pii(const std::string& text) {
    return ZEBLogger_replacePIIData(text);
}

/// An address, or a name that only libcurl can read: one with a scope in brackets, or percent-encoded.
bool needsNoResolution(const std::string& host, const std::string& url) {
    return ip::IpUtils::isIpAddress(host) || HttpUtils::checkUrlForIpV6(url) ||
           host.find_first_of("[%") != std::string::npos;
}

}  // namespace

UnresolvedHostCache::UnresolvedHostCache(std::shared_ptr<dns::DnsHostResolver> resolver)
    : UnresolvedHostCache(std::move(resolver), [] { return std::time(nullptr); }) {}

UnresolvedHostCache::UnresolvedHostCache(std::shared_ptr<dns::DnsHostResolver> resolver, Clock clock)
    : resolver_(std::move(resolver)), clock_(std::move(clock)) {}

UnresolvedHostCache::~UnresolvedHostCache() = default;

bool UnresolvedHostCache::namesHost(const std::string& url) {
    const bool isBare =
        std::none_of(url.begin(), url.end(), [](char c) { return c == '@' || c == '?' || c == '#'; });
    const std::string cut = isBare ? "" : HttpUtils::bareUrl(url);
    const std::string& bare = isBare ? url : cut;
    return HttpUtils::extractProtocolFromHttpUrl(url) != FILE_SCHEME &&
           !needsNoResolution(HttpUtils::extractHostFromHttpUrl(bare), bare);
}

bool UnresolvedHostCache::hostCanBeResolved(const std::string& url) {
    if (HttpUtils::extractProtocolFromHttpUrl(url) == FILE_SCHEME) {
        return true;
    }
    const std::string bare = HttpUtils::bareUrl(url);
    const std::string host = HttpUtils::extractHostFromHttpUrl(bare);
    if (host.empty()) {
        ZEB_LOG_WARNING(log::httpClient(), "Unable to extract the host from URL '"
                                               << pii(url) << "'. Method hostCanBeResolved failed");
        return true;
    }
    if (needsNoResolution(host, bare)) {
        return true;
    }
    if (isRecentlyUnresolved(host)) {
        ZEB_LOG_INFO(log::httpClient(),
                     "Host '" << pii(host) << "' from URL '" << pii(url) << "' is marked as unresolvable");
        return false;
    }
    ZEB_LOG_DEBUG(log::httpClient(),
                  "Checking if host '" << pii(host) << "' from URL '" << pii(url) << "' is resolvable");
    return hostResolves(host);
}

bool UnresolvedHostCache::hostResolves(const std::string& host) {
    if (resolver_ == nullptr || resolver_->isResolvable(host)) {
        return true;
    }
    addToList(host);
    return false;
}

bool UnresolvedHostCache::isRecentlyUnresolved(const std::string& host) {
    if (host.empty()) {
        ZEB_LOG_WARNING(log::httpClient(), "Host is empty. Method isRecentlyUnresolved failed");
        return false;
    }
    const ScopedLock lock(mutex_);
    const auto found = unresolvedHosts_.find(host);
    if (found == unresolvedHosts_.end()) {
        return false;
    }
    const std::time_t age = clock_() - found->second;
    if (isRecentLocked(age)) {
        ZEB_LOG_INFO(log::httpClient(), "Host [" << pii(host) << "] recently unresolved at timestamp ["
                                                 << found->second << "] ( " << age << " seconds ago ) ");
        return true;
    }
    const std::time_t expiredFor = std::max<std::time_t>(0, age - static_cast<std::time_t>(timeoutInSec_));
    ZEB_LOG_INFO(log::httpClient(), "Previous unresolved result for [" << pii(host) << "] expired "
                                                                       << expiredFor
                                                                       << " seconds ago, removing from list");
    unresolvedHosts_.erase(found);
    return false;
}

bool UnresolvedHostCache::isRecentLocked(std::time_t age) const {
    // A clock that was set back tells nothing about the age: better ask once too often than lock a host out
    // for as long as the clock was ahead.
    return age >= 0 && age < static_cast<std::time_t>(timeoutInSec_);
}

void UnresolvedHostCache::addToList(const std::string& host) {
    if (host.empty()) {
        ZEB_LOG_WARNING(log::httpClient(), "Host '" << pii(host) << "' is empty. Method addToList failed");
        return;
    }
    const ScopedLock lock(mutex_);
    const std::time_t now = clock_();
    if (unresolvedHosts_.size() >= MANY_HOSTS) {
        dropExpiredLocked(now);
    }
    unresolvedHosts_[host] = now;
}

void UnresolvedHostCache::dropExpiredLocked(std::time_t now) {
    for (auto entry = unresolvedHosts_.begin(); entry != unresolvedHosts_.end();) {
        entry = isRecentLocked(now - entry->second) ? std::next(entry) : unresolvedHosts_.erase(entry);
    }
}

bool UnresolvedHostCache::isEmpty() const {
    const ScopedLock lock(mutex_);
    return unresolvedHosts_.empty();
}

void UnresolvedHostCache::setTimeoutInSec(unsigned int seconds) {
    if (seconds == 0) {
        ZEB_LOG_WARNING(log::httpClient(), "cannot set timeout to zero");
        return;
    }
    ZEB_LOG_INFO(log::httpClient(), "setting unresolved host timeout to " << seconds << " seconds");
    const ScopedLock lock(mutex_);
    timeoutInSec_ = seconds;
}

void UnresolvedHostCache::clear() {
    const ScopedLock lock(mutex_);
    unresolvedHosts_.clear();
}

}  // namespace zeb::http

#pragma once

#include "core/Export.h"
#include "core/Mutex.h"

#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace zeb::dns {
class DnsHostResolver;
}

namespace zeb::http {

/// Remembers for a while (two minutes unless told otherwise) which hosts could not be resolved, so that DNS
/// isn't asked again at each request to them. Only failures are remembered. Any thread may call any
/// operation; the queries run outside the lock, so two threads may ask for one host at a time.
class ZEBNETUTILS_EXPORT UnresolvedHostCache {
public:
    /// Tells the time of day, in seconds; may be called from any thread.
    using Clock = std::function<std::time_t()>;

    /// Without a resolver every host counts as resolvable, and the transfer finds out.
    explicit UnresolvedHostCache(std::shared_ptr<dns::DnsHostResolver> resolver);
    UnresolvedHostCache(std::shared_ptr<dns::DnsHostResolver> resolver, Clock clock);
    virtual ~UnresolvedHostCache();

    UnresolvedHostCache(const UnresolvedHostCache&) = delete;
    UnresolvedHostCache& operator=(const UnresolvedHostCache&) = delete;

    /// False for a file and for an IP address: hostCanBeResolved() answers those at once, without a line in
    /// the log.
    static bool namesHost(const std::string& url);
    /// False when the host of the URL could not be resolved lately, or can't be now; blocks while DNS is
    /// asked. True without a question for a file, for an IP address, for a URL without a host, and for a host
    /// that is percent-encoded. User information, query and fragment are no part of the host.
    bool hostCanBeResolved(const std::string& url);
    /// True while the host's last failure is younger than the time-out; forgets it once it is older, and
    /// when the clock has been set back behind it.
    bool isRecentlyUnresolved(const std::string& host);
    /// Remembers a failure as of now, in place of an earlier one. An empty host is refused.
    void addToList(const std::string& host);
    bool isEmpty() const;
    /// How long a failure is remembered, those of before too. 0 is refused.
    void setTimeoutInSec(unsigned int seconds);
    void clear();

private:
    bool hostResolves(const std::string& host);
    void dropExpiredLocked(std::time_t now);
    bool isRecentLocked(std::time_t age) const;

    const std::shared_ptr<dns::DnsHostResolver> resolver_;
    const Clock clock_;
    mutable Mutex mutex_;  ///< guards the fields below; not held while the resolver is asked
    std::map<std::string, std::time_t> unresolvedHosts_;  ///< host, and when it failed
    unsigned int timeoutInSec_ = 120;
};

}  // namespace zeb::http

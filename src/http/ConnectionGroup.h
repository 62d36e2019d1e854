#pragma once

#include "core/Mutex.h"

#include <string>

namespace zeb::http {

class HttpRequestData;

/// Connections that are kept for the requests of one group alone. libcurl would let a request ride on any
/// kept connection to its host; but a connection was judged, once, for the request that made it, and one that
/// is to check the server for other names, or by another model, might refuse that server.
class ConnectionGroup {
public:
    ConnectionGroup();
    /// Closes the kept connections. No handle may be in the group any more.
    ~ConnectionGroup();
    ConnectionGroup(const ConnectionGroup&) = delete;
    ConnectionGroup& operator=(const ConnectionGroup&) = delete;

    /// Requests of one key judge alike. Empty for those that judge a server by the name in their URL and
    /// nothing else: they need no group, as libcurl already tells connections apart by that name.
    static std::string keyOf(const HttpRequestData& requestData);
    /// On a redirect a soft match forgets the names that the caller gave, and judges the next host by its
    /// own: no connection to that host which was judged by those names may be at hand, so such a request has
    /// a group for itself alone.
    static bool isAlone(const HttpRequestData& requestData);

    /// While the handle (`CURL*`) is in no multi handle.
    void join(void* easy);
    static void leave(void* easy);

    Mutex& getMutex() { return mutex_; }

private:
    void* const share_;
    Mutex mutex_;  ///< libcurl's, for the share: handles end on several threads
};

}  // namespace zeb::http

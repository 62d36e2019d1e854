#pragma once

#include "core/Mutex.h"

#include <map>

namespace zeb::http {

/// The sockets of libcurl's connections from their creation to their end, kept connections included: what a
/// thread that can't reach libcurl itself, because another waits in it, needs to end that wait. Must outlive
/// every connection of the handles it watches.
class OpenSockets {
public:
    /// Has the sockets of the connections that this handle (`CURL*`) makes opened and closed here.
    void watch(void* easy);
    /// Ends both directions of every open socket; whoever waits for one sees its end at once.
    void shutdownAll();

    // What libcurl calls. -1 for no socket.
    int open(int family, int type, int protocol);
    int close(int socket);

private:
    Mutex mutex_;  ///< held while a socket is closed, so that its number isn't another's by then
    /// Socket and its inode: a number alone may have become another socket's, if libcurl ever closes one by
    /// itself.
    std::map<int, unsigned long> sockets_;
};

}  // namespace zeb::http

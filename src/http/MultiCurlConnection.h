#pragma once

#include "core/Condition.h"
#include "core/Export.h"
#include "core/Mutex.h"
#include "http/OpenSockets.h"

#include <array>
#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <utility>

namespace zeb::http {

class ConnectionGroup;
class HttpRequestData;

/// Owner of one curl multi handle. Every call on the handle is made under getMutex().
///
/// One thread, the driving one, holds the mutex nearly all the time, and all the more while it waits for the
/// network. As a mutex owes nobody a turn, it calls giveWay() before each wait, and all others, the guests,
/// take the mutex by a GuestLock: whoever waits at that call has the mutex before the driving thread takes it
/// again. So a guest waits for one wait of the driving thread at most.
class ZEBNETUTILS_EXPORT MultiCurlConnection {
public:
    /// Pipelining is asked for; libcurl since 7.62 accepts that and ignores it.
    MultiCurlConnection();
    /// Closes the kept connections. No transfer may be left in the multi handle.
    ~MultiCurlConnection();

    MultiCurlConnection(const MultiCurlConnection&) = delete;
    MultiCurlConnection& operator=(const MultiCurlConnection&) = delete;

    /// The `CURLM*`; null when libcurl could not make one.
    void* getHandle() const { return handle_; }
    Mutex& getMutex() { return mutex_; }

    /// "[0x", the handle in hexadecimal, "] ": how log lines name the client.
    const std::string& logPrefix() const { return logPrefix_; }
    /// The prefix, "-", and the low 16 bits of the handle in hexadecimal. It is logged.
    std::string threadName(const std::string& prefix) const;

    /// Holds the mutex for one call of a thread other than the driving one.
    class ZEBNETUTILS_EXPORT GuestLock {
    public:
        explicit GuestLock(MultiCurlConnection& connection);
        ~GuestLock();
        GuestLock(const GuestLock&) = delete;
        GuestLock& operator=(const GuestLock&) = delete;

    private:
        MultiCurlConnection& connection_;
    };
    /// For the driving thread, without the mutex. Returns once every guest who waits now has had it; those
    /// who come meanwhile don't prolong it.
    void giveWay();

    /// Ties the handle of a request that is to be transferred to this connection: its sockets become known
    /// here, and it shares kept connections only with requests that judge a server as it does. Under the
    /// mutex, while the handle is in no multi handle.
    void adopt(HttpRequestData& requestData);
    /// Undoes it once the handle has left the multi handle; under the mutex.
    static void release(HttpRequestData& requestData);
    /// Ends the connections under a wait of the driving thread, so that it returns at once. For the end: all
    /// transfers fail.
    void interruptWait() { sockets_.shutdownAll(); }

private:
    std::shared_ptr<ConnectionGroup> groupOf(const std::string& key);

    OpenSockets sockets_;  ///< outlives the handle and the groups, whose connections it knows
    void* const handle_;
    const std::string logPrefix_;
    Mutex mutex_;
    /// The latest groups, so that their connections are kept between requests; under the mutex.
    std::list<std::pair<std::string, std::shared_ptr<ConnectionGroup>>> groups_;

    Mutex guestsMutex_;  ///< guards what follows
    Condition guestsServed_;
    std::array<std::size_t, 2> waitingGuests_{};  ///< of the present generation, and of the one before
    std::size_t generation_ = 0;
};

}  // namespace zeb::http

#pragma once

#include "core/Condition.h"
#include "core/Export.h"
#include "core/Mutex.h"
#include "http/OpenSockets.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <pthread.h>
#include <string>

namespace zeb::http {

/// Owner of one curl multi handle. Every call on the handle is made under getMutex().
///
/// One thread, the driving one, holds the mutex nearly all the time, and all the more while it waits for the
/// network. As a mutex owes nobody a turn, the others visit: a visitor who finds the driving thread at work
/// waits, without the mutex, until that gives way, which it does before each wait for the network, and then
/// it waits for the visitors it has let in. So a visitor waits for one wait of the driving thread at most,
/// the driving thread for no more visitors than were there, and no thread is woken in vain.
class ZEBNETUTILS_EXPORT MultiCurlConnection {
public:
    /// With pipelining on.
    MultiCurlConnection();
    /// Closes the kept connections. No transfer may be left in the multi handle.
    ~MultiCurlConnection();

    MultiCurlConnection(const MultiCurlConnection&) = delete;
    MultiCurlConnection& operator=(const MultiCurlConnection&) = delete;

    /// Whether many requests may share a connection at a time; under the mutex. A `CURLMcode`, as of the
    /// first of the calls.
    ///
    /// On is CURLMOPT_PIPELINING 1, which asks for pipelining over HTTP/1.1. libcurl accepts that and, since
    /// 7.62, ignores it; what it takes from the value is that requests are not to share an HTTP/2 connection.
    /// Therefore that is asked for by a second call, with both bits set. Off is 0: over HTTP/2, too, a
    /// connection serves one request after the other.
    int setPipelining(bool enabled);

    /// The `CURLM*`; null when libcurl could not make one.
    void* getHandle() const { return handle_; }
    Mutex& getMutex() { return mutex_; }

    /// "[0x", the handle in hexadecimal, "] ": how log lines name the client.
    const std::string& logPrefix() const { return logPrefix_; }
    /// The prefix, "-", and the low 16 bits of the handle in hexadecimal. It is logged.
    std::string threadName(const std::string& prefix) const;

    /// The stay of a thread other than the driving one; each call within it takes the mutex as ever.
    class ZEBNETUTILS_EXPORT Visit {
    public:
        /// Comes in while a listener is being called, too: that may take its time. The driving thread itself,
        /// on which libcurl calls the host for progress and certificates, never waits to be let in.
        explicit Visit(MultiCurlConnection& connection);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

    private:
        MultiCurlConnection& connection_;
    };

    // For the driving thread, without the mutex.
    /// From here to stopDriving() visitors wait to be let in.
    void startDriving();
    void stopDriving();
    /// Returns once every visitor who waits now has been in; those who come meanwhile don't prolong it.
    void giveWay();
    /// Around the call of a listener.
    void setCallingOut(bool calling);

    /// Makes the sockets of the connections known here that this handle (`CURL*`) makes: before it is added.
    void watchSocketsOf(void* easy) { sockets_.watch(easy); }
    /// Before a wait of the driving thread for the network; false once interruptWait() has been called.
    bool beginWait();
    void endWait();
    /// Ends the connections under a wait of the driving thread, so that it returns at once. For the end: all
    /// transfers fail, and there are no more waits. Not while libcurl is at work: it closes a socket that is
    /// still connecting by itself.
    void interruptWait();

private:
    OpenSockets sockets_;  ///< outlives the handle, whose connections it knows
    void* const handle_;
    const std::string logPrefix_;
    Mutex mutex_;

    void letIn();
    bool isDriver() const;

    Mutex waitMutex_;  ///< guards the two, and holds the driving thread back while sockets are shut down
    bool inWait_ = false;
    bool interrupted_ = false;

    Mutex visitsMutex_;  ///< guards what follows
    Condition visitorsMayEnter_;
    Condition visitorsHaveLeft_;
    bool driving_ = false;
    pthread_t driver_{};                   ///< while driving_
    std::atomic<bool> callingOut_{false};  ///< the two are atomic for setCallingOut() alone
    std::atomic<std::size_t> waiting_{0};  ///< visitors who wait to be let in
    std::size_t inside_ = 0;               ///< visitors who have been let in, and have not left
    std::uint64_t turn_ = 0;               ///< grows whenever all who wait are let in
};

}  // namespace zeb::http

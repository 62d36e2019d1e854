#pragma once

#include "core/Condition.h"
#include "core/Export.h"
#include "core/Mutex.h"
#include "http/OpenSockets.h"

#include <cstddef>
#include <cstdint>
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
/// network. As a mutex owes nobody a turn, the others visit: a visitor who finds the driving thread at work
/// waits, without the mutex, until that gives way, which it does before each wait for the network, and then
/// it waits for the visitors it has let in. So a visitor waits for one wait of the driving thread at most,
/// the driving thread for no more visitors than were there, and no thread is woken in vain.
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

    /// The stay of a thread other than the driving one; each call within it takes the mutex as ever.
    class ZEBNETUTILS_EXPORT Visit {
    public:
        /// Who isn't patient comes in while a listener is being called, too: that may take its time, and may
        /// be the visitor itself.
        Visit(MultiCurlConnection& connection, bool patient);
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

    void letIn();

    Mutex visitsMutex_;  ///< guards what follows
    Condition visitorsMayEnter_;
    Condition visitorsHaveLeft_;
    bool driving_ = false;
    bool callingOut_ = false;
    std::size_t waiting_ = 0;  ///< visitors who wait to be let in
    std::size_t inside_ = 0;   ///< visitors who have been let in, and have not left
    std::uint64_t turn_ = 0;   ///< grows whenever all who wait are let in
};

}  // namespace zeb::http

#pragma once

#include "ResolverSettings.h"
#include "dnsutils/DnsQueryResult.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <string>

#include <ares.h>

namespace zeb::dns {

/// One c-ares channel, for one query on one thread. It is made anew for each, which reads the system's files
/// anew and needs no lock; that costs a fraction of what a query takes.
class ResolverChannel {
public:
    enum class Search { NEVER, BY_THE_SYSTEMS_LIST };

    ResolverChannel(const ResolverSettings& settings, Search search);
    ~ResolverChannel();
    ResolverChannel(const ResolverChannel&) = delete;
    ResolverChannel& operator=(const ResolverChannel&) = delete;

    /// Null if it could not be made.
    ares_channel get() const { return channel_; }

    /// Drives the query that was begun on get() until its callback has set `done`, which it has at the
    /// latest when the time is over.
    void run(const bool& done);

    /// What a status of c-ares means, after all that has happened on the channel's sockets.
    DnsQueryResult::Result resultOf(int status) const;

    // For the functions that c-ares calls.
    void watch(int socket, bool readable, bool writable);
    void noteFailure(int error);
    void noteAnswer() { sawServer_ = true; }

private:
    using Clock = std::chrono::steady_clock;

    ares_options optionsFor(const ResolverSettings& settings) const;
    void processOnce(Clock::duration atMost);

    const std::size_t serverCount_;
    const Clock::time_point deadline_;
    ares_channel channel_ = nullptr;
    std::map<int, short> sockets_;  ///< what each socket waits for, in the words of poll()
    bool timeIsOver_ = false;
    bool sawNoWay_ = false;   ///< no way led to some server
    bool sawServer_ = false;  ///< something else was heard of some server: an answer, a refusal
};

}  // namespace zeb::dns

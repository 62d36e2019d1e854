#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Stands between the runtime and the system's thread functions: the linker sends their calls here first
/// (--wrap). What a test doesn't ask for goes through unchanged.
namespace zeb::test {

enum class PosixCall {
    ATTR_INIT,
    CLOCK_GETTIME,
    CONDATTR_SETCLOCK,
    COND_INIT,
    COND_SIGNAL,
    NANOSLEEP,
    SETNAME,
    THREAD_CREATE,
};

/// While it lives, the call fails with that error on the thread that made this, without being made. A
/// COND_SIGNAL "fails" with 0: it is lost. NANOSLEEP fails once, with 1 ms remaining.
class FailingCall {
public:
    FailingCall(PosixCall call, int error);
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

private:
    const PosixCall call_;
};

/// While it lives, timed waits on conditions don't end by themselves, nor by a signal: the test ends them. At
/// its end they all wake as if without cause. A malformed deadline is refused with EINVAL, as the system
/// does. One at a time.
class HeldTimedWaits {
public:
    HeldTimedWaits();
    ~HeldTimedWaits();
    HeldTimedWaits(const HeldTimedWaits&) = delete;
    HeldTimedWaits& operator=(const HeldTimedWaits&) = delete;

    /// Returns when so many threads wait. Whoever then takes their mutex finds them waiting.
    void awaitWaiting(std::size_t threads);
    /// Returns when so many waits have begun in all.
    void awaitCalls(std::size_t waits);
    /// Wakes all that wait now without cause.
    void wake();
    /// Lets the time of all that wait now run out.
    void expire();
    /// The time limits, in rounded seconds from the call, of all waits so far.
    std::vector<long> limitsInSeconds() const;
};

/// While it lives, threads sleep until the test wakes them. At its end they all wake. One at a time.
class HeldSleeps {
public:
    HeldSleeps();
    ~HeldSleeps();
    HeldSleeps(const HeldSleeps&) = delete;
    HeldSleeps& operator=(const HeldSleeps&) = delete;

    /// Returns when so many sleeps have begun in all.
    void awaitSleeps(std::size_t sleeps);
    /// Wakes all that sleep now.
    void wake();
    /// How long each sleep so far was to be.
    std::vector<long> milliseconds() const;
};

/// Counts the timed waits that begin while it lives, and lets them be.
class CountedTimedWaits {
public:
    CountedTimedWaits();

    /// Returns when so many waits have begun. Whoever then takes their mutex finds them waiting.
    void awaitCalls(std::size_t waits) const;

private:
    std::size_t before_;
};

/// The name of the calling thread, as the system knows it.
std::string osThreadName();
/// Returns when every thread that came since the start has ended or is in a timed wait; false when that takes
/// longer than 10 seconds.
bool awaitThreadsAtRest();

}  // namespace zeb::test

#pragma once

#include "core/Export.h"

namespace zeb {

struct EventData;

/// A flag that threads wait for. Every operation may be called from any thread; none throws.
class ZEBNETUTILS_EXPORT Event {
public:
    /// Starts unsignaled. An auto-reset event lets one waiter through per set() and clears itself; a manual
    /// one lets all through until reset().
    explicit Event(bool autoReset);
    /// No thread may wait any more.
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    /// Signals; nothing happens if it is signaled already. Always true.
    bool set();
    /// Clears a manual-reset event and returns true; does nothing and returns false on an auto-reset one.
    bool reset();
    /// Waits without limit until signaled. Always true.
    bool wait();
    /// Waits until signaled: true. False when the limit passes, and at once for a negative limit, even if the
    /// event is signaled. The limit is for one quiet span: a wake-up that finds the event unsignaled, because
    /// another waiter was faster, starts it anew.
    bool timedWait(long milliseconds);

private:
    EventData* const data_;
};

}  // namespace zeb

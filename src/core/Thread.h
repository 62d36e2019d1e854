#pragma once

#include "core/Export.h"

#include <string>

namespace zeb {

class Runnable;
struct thread_privdata;

/// One thread of the operating system, made by start() for a Runnable that the caller owns. Operations may be
/// called from any thread, the destructor when no other operation runs; none throws.
class ZEBNETUTILS_EXPORT Thread {
public:
    /// Without a name; the thread then takes its own handle, in hexadecimal, as its name when it starts.
    Thread();
    explicit Thread(const std::string& name);
    /// Doesn't wait: a thread that still runs goes on, detached, and keeps using its private data, which is
    /// therefore left behind for good. Join first.
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Starts the thread; `runnable` must outlive its run. Returns 0 or an error number. What fails is
    /// printed to standard output. With a stack size that the system refuses the thread runs nevertheless, on
    /// a stack of the default size, and the error is returned. An ended thread may be started again; starting
    /// one that still runs is not supported.
    int start(Runnable& runnable);

    std::string getName() const;
    /// Shows on the thread of the operating system from the next start() on.
    void setName(const std::string& name);

    /// In bytes, 0 for the system's default; initially 128000. Returns 0, or 1 and changes nothing while the
    /// thread runs.
    int setStackSize(int bytes);
    int getStackSize() const;

    /// Waits until the thread has ended. Returns 0 or an error number: ESRCH when there is no thread to join
    /// (not started, or joined before), EDEADLK on the thread itself.
    int join();
    /// From a successful start() until the Runnable returns.
    bool isRunning() const;
    /// The thread's handle as an integer; 0 before the first start().
    unsigned long getThreadId() const;

    /// Puts the calling thread to sleep for at least that long; a signal doesn't cut it short.
    static void sleep(unsigned long milliseconds);

private:
    void initialize(const std::string& name);

    thread_privdata* data_;
};

}  // namespace zeb

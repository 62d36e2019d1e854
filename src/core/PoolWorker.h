#pragma once

#include "core/Condition.h"
#include "core/Mutex.h"
#include "core/Runnable.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace zeb {

class Task;
class ThreadPool;

/// What every thread of a ThreadPool runs: one object per pool, which outlives it. Made with new; after
/// shutdown() the last thread to leave deletes it, or shutdown() itself if there is none.
///
/// The queue mutex and the worker mutex are never held together. Tasks run with neither held.
class PoolWorker : public Runnable {
public:
    using TaskQueue = std::deque<std::shared_ptr<Task>>;

    PoolWorker(ThreadPool* pool, const std::string& threadNameBase, std::shared_ptr<TaskQueue> normalQueue,
               std::shared_ptr<TaskQueue> priorityQueue, std::shared_ptr<Mutex> queueMutex,
               std::uint64_t idleMilliseconds);
    PoolWorker(const PoolWorker&) = delete;
    PoolWorker& operator=(const PoolWorker&) = delete;

    /// The life of one pool thread.
    void run() override;

    /// True when some thread runs no task.
    bool hasCapacity();
    /// Wakes one idle thread, if one waits.
    void wakeUpThread();
    /// Makes a thread unless the pool has as many as it may have, or has been shut down.
    void addThread();
    void setRest(std::uint32_t milliseconds) { restMilliseconds_ = milliseconds; }
    /// Empties both queues.
    void dropWaitingTasks();
    /// Drops the waiting tasks and lets the threads end. The worker may be gone on return: the pool's last
    /// call.
    void shutdown();

private:
    ~PoolWorker() override;

    bool stayAlive(bool& timedOut, bool& lastThread);
    std::shared_ptr<Task> waitForTask(bool& timedOut);
    std::shared_ptr<Task> takeTask();
    std::shared_ptr<Task> takeTaskLocked();
    std::shared_ptr<Task> takeTaskAfterRest();
    /// `shownName`: the thread's name, empty while it shows that of an idle one.
    void runTask(std::shared_ptr<Task> task, std::string& shownName);
    bool queuesEmptyLocked() const;

    std::atomic<ThreadPool*> pool_;  ///< null after shutdown; written with the worker mutex held
    const std::string threadNameBase_;
    const std::shared_ptr<TaskQueue> normalQueue_;
    const std::shared_ptr<TaskQueue> priorityQueue_;
    const std::shared_ptr<Mutex> queueMutex_;  ///< guards both queues
    Condition taskArrived_;                    ///< waited on with the queue mutex, signalled without it
    const std::uint64_t idleMilliseconds_;
    std::atomic<std::uint32_t> restMilliseconds_{0};
    Mutex workerMutex_;  ///< guards both counts
    std::uint32_t threadCount_ = 0;
    std::uint32_t busyCount_ = 0;
};

}  // namespace zeb

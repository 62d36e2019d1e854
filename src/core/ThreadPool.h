#pragma once

#include "core/Export.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace zeb {

class Mutex;
class PoolWorker;
class Task;

/// Runs tasks on up to `max` threads, which it makes as tasks come and ends when they have been idle. Two
/// queues, each first in, first out: a thread takes from the priority queue while that holds anything. There
/// is no bound on either. All operations may be called from any thread, tasks included; none throws.
///
/// A thread is added when a task is enqueued while every thread is busy. A task counts as running only once
/// its thread has begun it: with one idle thread, two tasks enqueued at once share it.
class ZEBNETUTILS_EXPORT ThreadPool {
public:
    /// Makes `min` threads at once and keeps them; others end after `idleSeconds` without a task. The name
    /// shows on idle threads; an empty one as "PoolThread". With `max` 0 no task ever runs. An idle time of 0
    /// keeps the `min` threads spinning.
    ThreadPool(unsigned min, unsigned max, unsigned idleSeconds);
    ThreadPool(unsigned min, unsigned max, const std::string& name, unsigned idleSeconds);
    /// Drops the waiting tasks unrun and doesn't wait for the running ones: their threads finish them, and
    /// end. A thread that waits in a blocking enqueue() for a dropped task waits for ever.
    ~ThreadPool();
    ThreadPool(const ThreadPool&) = delete;
    ThreadPool& operator=(const ThreadPool&) = delete;

    /// Queues the task; never refuses. With `blocking` it returns when the task has run: not to be called so
    /// from a task of a pool whose threads may all do the same. A null task is ignored.
    ///
    /// A task that arrives in the very moment in which the last idle thread gives up stays queued until the
    /// next call.
    void enqueue(std::shared_ptr<Task> task, bool blocking, bool priority);
    /// From here on a thread that has run out of tasks rests so long before it waits to be called, and looks
    /// once more: small tasks that keep coming share a waking, which costs far more than they. Meanwhile it
    /// counts as busy.
    void restBetweenTasks(std::uint32_t milliseconds);
    /// Drops all waiting tasks unrun; running ones are not touched.
    void clearQueue();
    /// The number of waiting tasks.
    std::size_t queueSize() const;

private:
    friend class PoolWorker;
    using TaskQueue = std::deque<std::shared_ptr<Task>>;

    void init(unsigned idleSeconds, const std::string& name);

    PoolWorker* worker_ = nullptr;  ///< outlives the pool while threads run; the last of them deletes it
    std::shared_ptr<TaskQueue> normalQueue_;
    std::shared_ptr<TaskQueue> priorityQueue_;
    std::shared_ptr<Mutex> queueMutex_;  ///< guards both queues
    const std::uint32_t minThreads_;
    const std::uint32_t maxThreads_;
};

}  // namespace zeb

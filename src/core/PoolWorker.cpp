#include "core/PoolWorker.h"

#include "core/RunningTasks.h"
#include "core/ScopedLock.h"
#include "core/Task.h"
#include "core/Thread.h"
#include "core/ThreadNameSetter.h"
#include "core/ThreadPool.h"

#include <pthread.h>
#include <utility>

namespace zeb {

namespace {

const char* const UNNAMED_POOL = "PoolThread";

extern "C" void* zebPoolThreadEntry(void* argument) {
    static_cast<Runnable*>(argument)->run();
    return nullptr;
}

/// A detached thread that runs `runnable`. Whether it could be made, nobody asks.
void createThread(Runnable* runnable) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread{};
    pthread_create(&thread, &attributes, &zebPoolThreadEntry, runnable);
    pthread_attr_destroy(&attributes);
}

}  // namespace

PoolWorker::PoolWorker(ThreadPool* pool, const std::string& threadNameBase,
                       std::shared_ptr<TaskQueue> normalQueue, std::shared_ptr<TaskQueue> priorityQueue,
                       std::shared_ptr<Mutex> queueMutex, std::uint64_t idleMilliseconds)
    : pool_(pool),
      threadNameBase_(threadNameBase.empty() ? UNNAMED_POOL : threadNameBase),
      normalQueue_(std::move(normalQueue)),
      priorityQueue_(std::move(priorityQueue)),
      queueMutex_(std::move(queueMutex)),
      idleMilliseconds_(idleMilliseconds) {}

PoolWorker::~PoolWorker() = default;

void PoolWorker::run() {
    bool timedOut = false;
    bool lastThread = false;
    ThreadNameSetter::SetCurrentThreadName(threadNameBase_);
    while (stayAlive(timedOut, lastThread)) {
        std::shared_ptr<Task> task = waitForTask(timedOut);
        std::string shownName;
        while (task != nullptr) {
            runTask(std::move(task), shownName);
            task = takeTask();
            if (task == nullptr) {
                task = takeTaskAfterRest();
            }
        }
        if (!shownName.empty()) {
            ThreadNameSetter::SetCurrentThreadName(threadNameBase_);
        }
    }
    if (lastThread) {
        delete this;
    }
}

bool PoolWorker::stayAlive(bool& timedOut, bool& lastThread) {
    const ScopedLock lock(workerMutex_);
    const ThreadPool* const pool = pool_;
    if (pool == nullptr) {
        --threadCount_;
        lastThread = threadCount_ == 0;
        return false;
    }
    if (timedOut && threadCount_ > pool->minThreads_) {
        --threadCount_;
        return false;
    }
    timedOut = false;
    return true;
}

std::shared_ptr<Task> PoolWorker::waitForTask(bool& timedOut) {
    const ScopedLock lock(*queueMutex_);
    while (pool_ != nullptr && !timedOut && queuesEmptyLocked()) {
        timedOut = taskArrived_.timedWait(*queueMutex_, static_cast<long>(idleMilliseconds_)) != 0;
    }
    // Deliberate: a task that arrived as the time ran out is left for the next pass, or, if this thread is to
    // end, for the next thread.
    return timedOut ? nullptr : takeTaskLocked();
}

std::shared_ptr<Task> PoolWorker::takeTask() {
    const ScopedLock lock(*queueMutex_);
    return takeTaskLocked();
}

std::shared_ptr<Task> PoolWorker::takeTaskLocked() {
    if (pool_ == nullptr || queuesEmptyLocked()) {
        return nullptr;
    }
    TaskQueue& queue = priorityQueue_->empty() ? *normalQueue_ : *priorityQueue_;
    std::shared_ptr<Task> task = std::move(queue.front());
    queue.pop_front();
    RunningTasks::getInstance().begin();
    return task;
}

/// Rests as a busy thread, so that nobody calls it.
std::shared_ptr<Task> PoolWorker::takeTaskAfterRest() {
    const std::uint32_t rest = restMilliseconds_;
    if (rest == 0) {
        return nullptr;
    }
    {
        const ScopedLock lock(workerMutex_);
        ++busyCount_;
    }
    Thread::sleep(rest);
    {
        const ScopedLock lock(workerMutex_);
        --busyCount_;
    }
    // Whoever found the thread busy has enqueued before this look.
    return takeTask();
}

void PoolWorker::runTask(std::shared_ptr<Task> task, std::string& shownName) {
    {
        const ScopedLock lock(workerMutex_);
        ++busyCount_;
    }
    // A system call, saved for all but the first of a row of like tasks.
    std::string name = task->name();
    if (name != shownName) {
        ThreadNameSetter::SetCurrentThreadName(name);
        shownName = std::move(name);
    }
    task->execute();
    task.reset();
    RunningTasks::getInstance().end();
    const ScopedLock lock(workerMutex_);
    --busyCount_;
}

bool PoolWorker::queuesEmptyLocked() const {
    return priorityQueue_->empty() && normalQueue_->empty();
}

bool PoolWorker::hasCapacity() {
    const ScopedLock lock(workerMutex_);
    return busyCount_ < threadCount_;
}

void PoolWorker::wakeUpThread() {
    taskArrived_.signal();
}

void PoolWorker::addThread() {
    const ScopedLock lock(workerMutex_);
    const ThreadPool* const pool = pool_;
    if (pool != nullptr && threadCount_ < pool->maxThreads_) {
        createThread(this);
        // Deliberate: a thread that could not be made counts as well, and for ever.
        ++threadCount_;
    }
}

void PoolWorker::dropWaitingTasks() {
    // The tasks are destroyed after the mutex has been released: what they own may call back.
    TaskQueue normal;
    TaskQueue priority;
    const ScopedLock lock(*queueMutex_);
    normal.swap(*normalQueue_);
    priority.swap(*priorityQueue_);
}

void PoolWorker::shutdown() {
    if (pool_ == nullptr) {
        return;
    }
    dropWaitingTasks();
    ScopedLock lock(workerMutex_);
    pool_ = nullptr;
    if (threadCount_ != 0) {
        // Without the queue mutex: a thread about to wait may miss it. Its idle time bounds the delay.
        taskArrived_.broadcast();
        return;
    }
    lock.unlock();
    delete this;
}

}  // namespace zeb

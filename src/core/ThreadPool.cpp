#include "core/ThreadPool.h"

#include "core/BlockingTask.h"
#include "core/Mutex.h"
#include "core/PoolWorker.h"
#include "core/ScopedLock.h"

#include <utility>

namespace zeb {

namespace {

constexpr std::uint64_t MILLISECONDS_PER_SECOND = 1000;

}  // namespace

ThreadPool::ThreadPool(unsigned min, unsigned max, unsigned idleSeconds)
    : ThreadPool(min, max, std::string(), idleSeconds) {}

ThreadPool::ThreadPool(unsigned min, unsigned max, const std::string& name, unsigned idleSeconds)
    : normalQueue_(std::make_shared<TaskQueue>()),
      priorityQueue_(std::make_shared<TaskQueue>()),
      queueMutex_(std::make_shared<Mutex>()),
      minThreads_(min),
      maxThreads_(max) {
    init(idleSeconds, name);
}

void ThreadPool::init(unsigned idleSeconds, const std::string& name) {
    worker_ = new PoolWorker(this, name, normalQueue_, priorityQueue_, queueMutex_,
                             idleSeconds * MILLISECONDS_PER_SECOND);
    for (std::uint32_t i = 0; i < minThreads_; ++i) {
        worker_->addThread();
    }
}

ThreadPool::~ThreadPool() {
    worker_->shutdown();
}

void ThreadPool::enqueue(std::shared_ptr<Task> task, bool blocking, bool priority) {
    if (task == nullptr) {
        return;
    }
    std::shared_ptr<BlockingTask> blockingTask;
    if (blocking) {
        blockingTask = std::make_shared<BlockingTask>(std::move(task));
        task = blockingTask;
    }
    {
        const ScopedLock lock(*queueMutex_);
        (priority ? priorityQueue_ : normalQueue_)->push_back(std::move(task));
    }
    if (worker_->hasCapacity()) {
        worker_->wakeUpThread();
    } else {
        worker_->addThread();
    }
    if (blockingTask != nullptr) {
        blockingTask->wait();
    }
}

void ThreadPool::restBetweenTasks(std::uint32_t milliseconds) {
    worker_->setRest(milliseconds);
}

void ThreadPool::clearQueue() {
    worker_->dropWaitingTasks();
}

std::size_t ThreadPool::queueSize() const {
    const ScopedLock lock(*queueMutex_);
    return normalQueue_->size() + priorityQueue_->size();
}

}  // namespace zeb

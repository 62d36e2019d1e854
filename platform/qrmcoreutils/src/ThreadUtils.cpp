#include "core/Task.h"
#include "core/ThreadPool.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <utility>

namespace QRMCoreUtils {

namespace {

/// One thread stays, so that no task waits for the next one to come; the others end after a minute. Never
/// destroyed: static destructors of the host may still hand tasks in.
zeb::ThreadPool& sharedPool() {
    static auto& pool = *new zeb::ThreadPool(1, 16, "SharedPool", 60);
    return pool;
}

class NoTask : public zeb::Task {
public:
    void execute() override {}
};

/// Runs a task. Tasks handed in at the same time can share one idle thread, and the pool would let the second
/// wait for the first, which may be asking the user. So a task that finds others waiting behind it makes the
/// pool look for a thread again.
class SharedTask : public zeb::Task {
public:
    explicit SharedTask(std::shared_ptr<zeb::Task> task) : task_(std::move(task)) {}

    void execute() override {
        if (sharedPool().queueSize() != 0) {
            sharedPool().enqueue(std::make_shared<NoTask>(), false, false);
        }
        task_->execute();
    }
    std::string name() const override { return task_->name(); }

private:
    const std::shared_ptr<zeb::Task> task_;
};

class FunctionTask : public zeb::Task {
public:
    FunctionTask(std::function<void()> function, std::string name)
        : function_(std::move(function)), name_(std::move(name)) {}

    void execute() override { function_(); }
    std::string name() const override { return name_; }

private:
    const std::function<void()> function_;
    const std::string name_;
};

}  // namespace

void ThreadUtils::runInThreadPool(std::shared_ptr<zeb::Task> task) {
    if (task != nullptr) {
        sharedPool().enqueue(std::make_shared<SharedTask>(std::move(task)), false, false);
    }
}

void ThreadUtils::runInThreadPool(std::function<void()> function, const std::string& name) {
    if (function) {
        runInThreadPool(std::make_shared<FunctionTask>(std::move(function), name));
    }
}

}  // namespace QRMCoreUtils

#include "core/BlockingTask.h"

#include <utility>

namespace zeb {

BlockingTask::BlockingTask(std::shared_ptr<Task> task) : executed_(true), task_(std::move(task)) {}

void BlockingTask::execute() {
    task_->execute();
    executed_.set();
}

std::string BlockingTask::name() const {
    return "BT-" + task_->name();
}

void BlockingTask::wait() {
    executed_.wait();
}

}  // namespace zeb

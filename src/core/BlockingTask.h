#pragma once

#include "core/Event.h"
#include "core/Export.h"
#include "core/Task.h"

#include <memory>
#include <string>

namespace zeb {

/// Wraps a task so that a thread can wait until it has run.
class ZEBNETUTILS_EXPORT BlockingTask : public Task {
public:
    /// The wrapped task must not be null.
    explicit BlockingTask(std::shared_ptr<Task> task);

    /// Runs the wrapped task, then lets the waiting thread go.
    void execute() override;
    /// "BT-" and the wrapped task's name.
    std::string name() const override;

    /// Waits without limit until the task has run; one thread may wait, once. A task that is dropped from its
    /// queue unrun keeps its waiter for ever.
    void wait();

private:
    Event executed_;
    std::shared_ptr<Task> task_;
};

}  // namespace zeb

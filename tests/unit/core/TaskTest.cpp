#include "core/BlockingTask.h"
#include "core/Event.h"
#include "core/Task.h"
#include "support/Threads.h"

#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <typeinfo>

#include <gmock/gmock.h>

namespace zeb::test {

namespace {

thread_local bool demanglingFails = false;

}  // namespace

// The linker prescribes these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

char* __real___cxa_demangle(const char* name, char* buffer, std::size_t* length, int* status);

char* __wrap___cxa_demangle(const char* name, char* buffer, std::size_t* length, int* status) {
    if (!demanglingFails) {
        return __real___cxa_demangle(name, buffer, length, status);
    }
    *status = -1;  // no memory
    return nullptr;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

/// Not in the anonymous namespace: its name is looked at.
class PlainTask : public Task {
public:
    void execute() override { ++runs; }
    int runs = 0;
};

namespace {

class NamedTask : public PlainTask {
public:
    std::string name() const override { return "Named"; }
};

TEST(TaskTest, ItsNameIsThatOfItsDynamicType) {
    const std::shared_ptr<Task> task = std::make_shared<PlainTask>();
    EXPECT_EQ("zeb::test::PlainTask", task->name());
}

TEST(TaskTest, ItsNameIsTheRawOneOfItsTypeWhenThatCannotBeDemangled) {
    demanglingFails = true;
    const std::string name = PlainTask().name();
    demanglingFails = false;
    EXPECT_EQ(typeid(PlainTask).name(), name);
}

TEST(TaskTest, ADerivedTaskMayNameItself) {
    const std::shared_ptr<Task> task = std::make_shared<NamedTask>();
    EXPECT_EQ("Named", task->name());
}

TEST(BlockingTaskTest, ItsNameIsBTAndTheNameOfTheWrappedTask) {
    EXPECT_EQ("BT-Named", BlockingTask(std::make_shared<NamedTask>()).name());
    EXPECT_EQ("BT-zeb::test::PlainTask", BlockingTask(std::make_shared<PlainTask>()).name());
}

TEST(BlockingTaskTest, ItRunsTheWrappedTaskOnceAndThenLetsTheWaiterGo) {
    const auto wrapped = std::make_shared<PlainTask>();
    BlockingTask task(wrapped);
    Event passed(false);
    std::thread waiter([&] {
        task.wait();
        EXPECT_EQ(1, wrapped->runs);
        passed.set();
    });
    EXPECT_TRUE(awaitOthersAsleep());
    EXPECT_FALSE(passed.timedWait(0));
    task.execute();
    EXPECT_TRUE(passed.wait());
    waiter.join();
    EXPECT_EQ(1, wrapped->runs);
}

}  // namespace
}  // namespace zeb::test

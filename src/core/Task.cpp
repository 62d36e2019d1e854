#include "core/Task.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#include <typeinfo>

namespace zeb {

namespace {

struct Free {
    void operator()(char* text) const { std::free(text); }
};

std::string demangled(const char* rawName) {
    int status = 0;
    const std::unique_ptr<char, Free> name(abi::__cxa_demangle(rawName, nullptr, nullptr, &status));
    return status == 0 && name != nullptr ? name.get() : rawName;
}

}  // namespace

Task::~Task() = default;

std::string Task::name() const {
    // Demangling costs more than many a task, and a thread's tasks mostly are of one type.
    thread_local const std::type_info* lastType = nullptr;
    thread_local std::string lastName;
    const std::type_info& type = typeid(*this);
    if (lastType == nullptr || *lastType != type) {
        lastName = demangled(type.name());
        lastType = &type;
    }
    return lastName;
}

}  // namespace zeb

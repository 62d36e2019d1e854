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

}  // namespace

Task::~Task() = default;

std::string Task::name() const {
    const char* const rawName = typeid(*this).name();
    int status = 0;
    const std::unique_ptr<char, Free> demangled(abi::__cxa_demangle(rawName, nullptr, nullptr, &status));
    return status == 0 && demangled != nullptr ? demangled.get() : rawName;
}

}  // namespace zeb

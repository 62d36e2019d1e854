#include "core/ThreadNameSetter.h"

#include <cstdio>
#include <pthread.h>

namespace zeb {

namespace {

constexpr std::size_t LONGEST_NAME = 15;
constexpr std::size_t CUT_NAME = 14;

}  // namespace

void SetThreadName(const std::string& name) {
    const int status = name.length() > LONGEST_NAME
                           ? pthread_setname_np(pthread_self(), name.substr(0, CUT_NAME).c_str())
                           : pthread_setname_np(pthread_self(), name.c_str());
    if (status != 0) {
        (void)std::fprintf(stderr, "SetThreadName failed with error code %i\n", status);
    }
}

void ThreadNameSetter::SetCurrentThreadName(const std::string& name) {
    if (!name.empty()) {
        SetThreadName(name);
    }
}

}  // namespace zeb

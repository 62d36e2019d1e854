#include "FstatSeam.h"

#include <utility>

namespace zeb::cert::test {

namespace {

thread_local std::function<void(struct stat&)> changeOfThread;

}  // namespace

FstatSeam::FstatSeam(std::function<void(struct stat&)> change) {
    changeOfThread = std::move(change);
}

FstatSeam::~FstatSeam() {
    changeOfThread = nullptr;
}

}  // namespace zeb::cert::test

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c): the linker's names
int __real_fstat(int descriptor, struct stat* status);

int __wrap_fstat(int descriptor, struct stat* status) {
    const int result = __real_fstat(descriptor, status);
    if (zeb::cert::test::changeOfThread) {
        zeb::cert::test::changeOfThread(*status);
    }
    return result;
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c)
}

#pragma once

#include <functional>
#include <sys/stat.h>

namespace zeb::cert::test {

/// While it lives, what the library is told by fstat() on this thread goes through that function first (the
/// linker sends the calls here). One at a time.
class FstatSeam {
public:
    explicit FstatSeam(std::function<void(struct stat&)> change);
    ~FstatSeam();
    FstatSeam(const FstatSeam&) = delete;
    FstatSeam& operator=(const FstatSeam&) = delete;
};

}  // namespace zeb::cert::test

#pragma once

#include <cstddef>

namespace zeb::test {

/// Counts what the calling thread takes from operator new while it lives. Naming it in a test replaces
/// operator new in that executable; nesting is allowed.
class AllocationCounter {
public:
    AllocationCounter();

    std::size_t count() const;
    std::size_t bytes() const;

private:
    std::size_t countBefore_;
    std::size_t bytesBefore_;
};

}  // namespace zeb::test

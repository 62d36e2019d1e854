#pragma once

#include <cstddef>

namespace zeb::test {

/// While it lives, the process's look-ups of the name "held.invalid" wait, and then answer with 127.0.0.1.
/// Others go on to the machine's own resolver. One at a time.
class HeldResolver {
public:
    static constexpr char NAME[] = "held.invalid";

    HeldResolver();
    /// Releases what still waits, and waits until it has left.
    ~HeldResolver();
    HeldResolver(const HeldResolver&) = delete;
    HeldResolver& operator=(const HeldResolver&) = delete;

    /// Returns as soon as that many look-ups have come; false after ten seconds.
    bool waitFor(std::size_t lookUps);
    /// Those that wait go on; further ones don't wait.
    void release();
};

}  // namespace zeb::test

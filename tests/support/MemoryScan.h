#pragma once

#include <cstddef>
#include <vector>

namespace zeb::test {

/// A random text of lower-case letters that a test plants and later looks for in the process's memory. It is
/// never held in clear here, so whatever a scan finds is a copy that somebody else left.
class PlantedSecret {
public:
    explicit PlantedSecret(std::size_t size = 64);

    /// Instead of a random text, these bytes; wiping them is the caller's.
    PlantedSecret(const unsigned char* bytes, std::size_t size);

    std::size_t size() const { return masked_.size(); }

    /// One character in clear.
    char at(std::size_t index) const { return static_cast<char>(masked_[index] ^ mask_[index]); }

    /// Writes the text, without a NUL, where the test wants it.
    void copyTo(char* out) const;

    bool equals(const char* text, std::size_t textSize) const;

private:
    std::vector<unsigned char> masked_;
    std::vector<unsigned char> mask_;
};

/// How often the secret stands in the writable memory of this process: heap, stacks, data, freed blocks too.
/// Its second half is looked for, as an allocator writes its notes over the head of a freed block; 32
/// characters and more leave nothing to chance. The huge regions in which sanitizers keep their own state are
/// left out; what the program freed under a sanitizer isn't. Other threads must be at rest.
std::size_t countInOwnMemory(const PlantedSecret& secret);

/// Overwrites what functions that have returned left on the stack: it is overwritten sooner or later anyway,
/// where a block of the heap is not. For a test that asks about the heap alone.
void wipeDeadStack();

/// What stands at an address now, though it may be freed: read through the kernel, so that no sanitizer and
/// no rule of the language is in the way. Empty if the address is no longer mapped.
std::vector<unsigned char> peekAtMemory(const void* address, std::size_t size);

}  // namespace zeb::test

#pragma once

#include <cstddef>
#include <initializer_list>
#include <vector>

/// Stands between the library and the allocator: the linker sends malloc, calloc, strdup, free and operator
/// new here first (--wrap). What a test doesn't ask for goes through unchanged.
namespace zeb::netutils::test {

/// A block from which a test lets the allocator answer. It stays readable after it has been freed.
class Block {
public:
    static constexpr std::size_t SIZE = 256;

    Block();
    ~Block();
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;

    unsigned char* address() { return bytes_; }
    /// Writes `value` to all of it.
    void fill(unsigned char value);
    /// The bytes from `begin` to before `end` all have that value.
    bool holds(unsigned char value, std::size_t begin, std::size_t end) const;
    /// How often free was called with it.
    int timesFreed() const { return timesFreed_; }

private:
    friend class RawAllocator;
    int timesFreed_ = 0;
    alignas(std::max_align_t) unsigned char bytes_[SIZE];
};

class RawAllocator {
public:
    /// What the next calls of malloc, calloc and strdup on this thread answer, one after the other: null for
    /// memory that has run out.
    static void answerNext(std::initializer_list<void*> answers);
    /// True when all those answers have been given.
    static bool answered();

    /// From now on every block is searched for the text at the moment of its release, on any thread; null
    /// ends that. The text must stay where it is until then.
    static void watchReleasesFor(const char* text);
    /// Releases looked at since, and those that still held the text.
    static int releasesSeen();
    static int releasesWithText();

    /// Lets the next operator new on this thread throw; tells whether it has yet.
    static void failNextNew();
    static bool newFailed();

    /// For the wrappers. The first takes the next answer, if there is one; the second is true for a Block.
    static bool takeAnswer(void*& answer);
    static bool freed(void* pointer);
    static void inspect(void* pointer);
    static void add(Block* block);
    static void remove(Block* block);
};

}  // namespace zeb::netutils::test

#include "RawAllocator.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <malloc.h>
#include <new>
#include <utility>

namespace zeb::netutils::test {

namespace {

// Arrays and not containers: these are asked under every allocation of the process.
constexpr std::size_t CAPACITY = 8;

struct Answers {
    void* list[CAPACITY];
    std::size_t given;
    std::size_t count;
};

thread_local Answers answers{};
thread_local Block* blocks[CAPACITY]{};
thread_local bool newFails = false;

std::atomic<const char*> watchedText{nullptr};
std::atomic<int> seen{0};
std::atomic<int> withText{0};

}  // namespace

Block::Block() {
    fill(0xEE);
    RawAllocator::add(this);
}

Block::~Block() {
    RawAllocator::remove(this);
}

void Block::fill(unsigned char value) {
    std::memset(bytes_, value, SIZE);
}

bool Block::holds(unsigned char value, std::size_t begin, std::size_t end) const {
    return std::all_of(bytes_ + begin, bytes_ + end, [value](unsigned char byte) { return byte == value; });
}

void RawAllocator::answerNext(std::initializer_list<void*> list) {
    answers = {};
    for (void* answer : list) {
        answers.list[answers.count++] = answer;
    }
}

bool RawAllocator::answered() {
    return answers.given == answers.count;
}

void RawAllocator::watchReleasesFor(const char* text) {
    seen = 0;
    withText = 0;
    watchedText = text;
}

int RawAllocator::releasesSeen() {
    return seen;
}

int RawAllocator::releasesWithText() {
    return withText;
}

void RawAllocator::inspect(void* pointer) {
    const char* const text = watchedText;
    if (text == nullptr || pointer == nullptr) {
        return;
    }
    ++seen;
    if (memmem(pointer, malloc_usable_size(pointer), text, std::strlen(text)) != nullptr) {
        ++withText;
    }
}

void RawAllocator::failNextNew() {
    newFails = true;
}

bool RawAllocator::newFailed() {
    return !newFails;
}

bool RawAllocator::takeAnswer(void*& answer) {
    if (answered()) {
        return false;
    }
    answer = answers.list[answers.given++];
    return true;
}

bool RawAllocator::freed(void* pointer) {
    for (Block* block : blocks) {
        if (block != nullptr && block->bytes_ == pointer) {
            ++block->timesFreed_;
            return true;
        }
    }
    return false;
}

void RawAllocator::add(Block* block) {
    *std::find(std::begin(blocks), std::end(blocks), nullptr) = block;
}

void RawAllocator::remove(Block* block) {
    std::replace(std::begin(blocks), std::end(blocks), block, static_cast<Block*>(nullptr));
}

// The linker prescribes these names.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
// Visible, as the linker also holds the sanitizers' calls of these functions for calls of the stand-ins.
#pragma GCC visibility push(default)
extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t nmemb, std::size_t size);
char* __real_strdup(const char* text);
void __real_free(void* pointer);

void* __wrap_malloc(std::size_t size) {
    void* answer = nullptr;
    return RawAllocator::takeAnswer(answer) ? answer : __real_malloc(size);
}

void* __wrap_calloc(std::size_t nmemb, std::size_t size) {
    void* answer = nullptr;
    if (!RawAllocator::takeAnswer(answer)) {
        return __real_calloc(nmemb, size);
    }
    return answer == nullptr ? nullptr : std::memset(answer, 0, nmemb * size);
}

char* __wrap_strdup(const char* text) {
    void* answer = nullptr;
    if (!RawAllocator::takeAnswer(answer)) {
        return __real_strdup(text);
    }
    return answer == nullptr ? nullptr : static_cast<char*>(std::memcpy(answer, text, std::strlen(text) + 1));
}

void __wrap_free(void* pointer) {
    if (!RawAllocator::freed(pointer)) {
        RawAllocator::inspect(pointer);
        __real_free(pointer);
    }
}

}  // extern "C"
#pragma GCC visibility pop
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

}  // namespace zeb::netutils::test

// The other forms (arrays, nothrow) end in these.
void* operator new(std::size_t size) {
    using namespace zeb::netutils::test;
    void* const block = std::exchange(newFails, false) ? nullptr : __real_malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    zeb::netutils::test::__real_free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    zeb::netutils::test::__real_free(block);
}

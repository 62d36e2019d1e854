#include "support/MemoryScan.h"

#include "core/GuaranteedMemset.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <sys/mman.h>
#include <unistd.h>

namespace zeb::test {

namespace {

constexpr std::size_t CHUNK_SIZE = 1U << 20U;
constexpr std::size_t MAPS_SIZE = 4U << 20U;
constexpr std::size_t DEAD_STACK_SIZE = 256U << 10U;

// The shadow of a sanitizer takes terabytes; nothing that a test plants lies in a mapping of this size.
constexpr std::uint64_t LARGEST_MAPPING = 1ULL << 30U;

struct Range {
    std::uint64_t begin;
    std::uint64_t end;
};

class File {
public:
    explicit File(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {}
    ~File() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::size_t readAt(std::uint64_t position, void* out, std::size_t size) const {
        const ssize_t count = pread(descriptor_, out, size, static_cast<off_t>(position));
        return count > 0 ? static_cast<std::size_t>(count) : 0;
    }

private:
    int descriptor_;
};

// The scan takes its memory straight from the kernel: an allocator would hand out, and thus overwrite, just
// the freed blocks that are to be looked at.
class Pages {
public:
    explicit Pages(std::size_t size)
        : memory_(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)),
          size_(size) {}
    ~Pages() { munmap(memory_, size_); }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    char* data() const { return static_cast<char*>(memory_); }
    std::size_t size() const { return size_; }
    Range range() const {
        const auto begin = reinterpret_cast<std::uintptr_t>(memory_);
        return {begin, begin + size_};
    }

private:
    void* memory_;
    std::size_t size_;
};

// The kernel's list of the mappings, with a NUL behind it.
void readMaps(const Pages& out) {
    const File maps("/proc/self/maps");
    std::size_t size = 0;
    while (const std::size_t count = maps.readAt(size, out.data() + size, out.size() - 1 - size)) {
        size += count;
    }
    out.data()[size] = '\0';
}

// From a line such as "7f3c1000-7f3c9000 rw-p 00000000 00:00 0".
bool isToBeScanned(const char* line, Range& range) {
    char* at = nullptr;
    range.begin = std::strtoull(line, &at, 16);
    range.end = std::strtoull(at + 1, &at, 16);
    return std::strncmp(at, " rw", 3) == 0 && range.end - range.begin <= LARGEST_MAPPING;
}

template <typename Visit>
void visitWritableRanges(const char* maps, const Range& without, Visit visit) {
    for (const char* line = maps; line != nullptr && *line != '\0';) {
        Range range{};
        if (isToBeScanned(line, range)) {
            // Mappings side by side are listed as one.
            if (without.begin < range.end && range.begin < without.end) {
                visit(Range{range.begin, without.begin});
                visit(Range{without.end, range.end});
            } else {
                visit(range);
            }
        }
        const char* const lineEnd = std::strchr(line, '\n');
        line = lineEnd == nullptr ? nullptr : lineEnd + 1;
    }
}

bool standsAt(const PlantedSecret& secret, std::size_t from, const char* memory) {
    std::size_t index = from;
    while (index < secret.size() && *memory == secret.at(index)) {
        ++index;
        ++memory;
    }
    return index == secret.size();
}

std::size_t countTail(const PlantedSecret& secret, std::size_t from, const char* memory, std::size_t size) {
    const std::size_t length = secret.size() - from;
    std::size_t count = 0;
    const char* const end = memory + size;
    while (static_cast<std::size_t>(end - memory) >= length) {
        const std::size_t places = static_cast<std::size_t>(end - memory) - length + 1;
        const void* const found = std::memchr(memory, secret.at(from), places);
        if (found == nullptr) {
            break;
        }
        memory = static_cast<const char*>(found);
        count += standsAt(secret, from, memory) ? 1 : 0;
        ++memory;
    }
    return count;
}

}  // namespace

PlantedSecret::PlantedSecret(std::size_t size) {
    std::random_device random;
    for (std::size_t i = 0; i < size; ++i) {
        mask_.push_back(static_cast<unsigned char>(random()));
        masked_.push_back(static_cast<unsigned char>('a' + random() % 26) ^ mask_.back());
    }
}

PlantedSecret::PlantedSecret(const unsigned char* bytes, std::size_t size) {
    std::random_device random;
    for (std::size_t i = 0; i < size; ++i) {
        mask_.push_back(static_cast<unsigned char>(random()));
        masked_.push_back(bytes[i] ^ mask_.back());
    }
}

void PlantedSecret::copyTo(char* out) const {
    for (std::size_t i = 0; i < size(); ++i) {
        out[i] = at(i);
    }
}

bool PlantedSecret::equals(const char* text, std::size_t textSize) const {
    return textSize == size() && standsAt(*this, 0, text);
}

std::size_t countInOwnMemory(const PlantedSecret& secret) {
    const File memory("/proc/self/mem");
    const Pages maps(MAPS_SIZE);
    const Pages chunk(CHUNK_SIZE);  // holds the secret itself, now and then: left out of the scan
    readMaps(maps);

    const std::size_t from = secret.size() / 2;
    const std::size_t overlap = secret.size() - from - 1;  // for a secret that lies across the border
    std::size_t count = 0;
    visitWritableRanges(maps.data(), chunk.range(), [&](const Range& range) {
        for (std::uint64_t at = range.begin; at < range.end;) {
            const std::uint64_t wanted = std::min<std::uint64_t>(chunk.size(), range.end - at);
            const std::size_t size = memory.readAt(at, chunk.data(), wanted);
            count += countTail(secret, from, chunk.data(), size);
            const bool isLast = size < wanted || at + size >= range.end;
            at = isLast ? range.end : at + size - overlap;
        }
    });
    return count;
}

[[gnu::noinline]] void wipeDeadStack() {
    std::array<char, DEAD_STACK_SIZE> block{};
    guaranteed_memset(block.data(), 0, block.size());
}

std::vector<unsigned char> peekAtMemory(const void* address, std::size_t size) {
    const File memory("/proc/self/mem");
    std::vector<unsigned char> bytes(size);
    bytes.resize(memory.readAt(reinterpret_cast<std::uintptr_t>(address), bytes.data(), size));
    return bytes;
}

}  // namespace zeb::test

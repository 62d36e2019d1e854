#include "support/MemoryScan.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace zeb::test {

namespace {

constexpr std::size_t CHUNK_SIZE = 1U << 20U;

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

// Memory for the pieces under inspection, which hold the secret if anything does: known by address, so that
// the scan can leave it out.
class ScanBuffer {
public:
    ScanBuffer()
        : memory_(mmap(nullptr, CHUNK_SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {}
    ~ScanBuffer() { munmap(memory_, CHUNK_SIZE); }
    ScanBuffer(const ScanBuffer&) = delete;
    ScanBuffer& operator=(const ScanBuffer&) = delete;

    unsigned char* data() const { return static_cast<unsigned char*>(memory_); }
    Range range() const {
        const auto begin = reinterpret_cast<std::uintptr_t>(memory_);
        return {begin, begin + CHUNK_SIZE};
    }

private:
    void* memory_;
};

std::vector<Range> writableRanges(const Range& without) {
    std::vector<Range> ranges;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        Range range{};
        char access[5] = {};
        if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s", &range.begin, &range.end, access) != 3 ||
            std::strncmp(access, "rw", 2) != 0 || range.end - range.begin > LARGEST_MAPPING) {
            continue;
        }
        // Mappings side by side are listed as one.
        if (without.begin < range.end && range.begin < without.end) {
            ranges.push_back({range.begin, without.begin});
            ranges.push_back({without.end, range.end});
        } else {
            ranges.push_back(range);
        }
    }
    return ranges;
}

bool standsAt(const PlantedSecret& secret, const unsigned char* memory) {
    std::size_t index = 0;
    while (index < secret.size() && static_cast<char>(memory[index]) == secret.at(index)) {
        ++index;
    }
    return index == secret.size();
}

std::size_t countIn(const PlantedSecret& secret, const unsigned char* memory, std::size_t size) {
    std::size_t count = 0;
    const unsigned char* const end = memory + size;
    while (static_cast<std::size_t>(end - memory) >= secret.size()) {
        const std::size_t places = static_cast<std::size_t>(end - memory) - secret.size() + 1;
        const void* const found = std::memchr(memory, secret.at(0), places);
        if (found == nullptr) {
            break;
        }
        memory = static_cast<const unsigned char*>(found);
        count += standsAt(secret, memory) ? 1 : 0;
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

void PlantedSecret::copyTo(char* out) const {
    for (std::size_t i = 0; i < size(); ++i) {
        out[i] = at(i);
    }
}

bool PlantedSecret::equals(const char* text, std::size_t textSize) const {
    return textSize == size() && standsAt(*this, reinterpret_cast<const unsigned char*>(text));
}

std::size_t countInOwnMemory(const PlantedSecret& secret) {
    const File memory("/proc/self/mem");
    const ScanBuffer buffer;
    std::size_t count = 0;
    for (const Range& range : writableRanges(buffer.range())) {
        for (std::uint64_t at = range.begin; at < range.end;) {
            const std::uint64_t wanted = std::min<std::uint64_t>(CHUNK_SIZE, range.end - at);
            const std::size_t size = memory.readAt(at, buffer.data(), wanted);
            count += countIn(secret, buffer.data(), size);
            // The next piece overlaps, for a secret that lies across the border.
            const bool isLast = size < wanted || at + size >= range.end;
            at = isLast ? range.end : at + size - (secret.size() - 1);
        }
    }
    return count;
}

std::vector<unsigned char> peekAtMemory(const void* address, std::size_t size) {
    const File memory("/proc/self/mem");
    std::vector<unsigned char> bytes(size);
    bytes.resize(memory.readAt(reinterpret_cast<std::uintptr_t>(address), bytes.data(), size));
    return bytes;
}

}  // namespace zeb::test

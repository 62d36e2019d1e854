#include "netutils/LibCurlMemoryManager.h"

#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"
#include "core/SecureStringUtils.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace zeb::netutils {

namespace {

/// A line of a hook. It may be about memory that has run out, and must not throw through libcurl.
#define HOOK_LOG(LOG, expression)                    \
    do {                                             \
        try {                                        \
            LOG(zeb::log::netutils(), expression);   \
        } catch (...) { /* no memory for the line */ \
        }                                            \
    } while (false)

/// Which blocks libcurl holds. The nodes of entries that have gone are kept for those to come, so that under
/// an allocation of libcurl there isn't a second one.
class MemoryMap {
public:
    enum class Outcome { ADDED, DUPLICATE, NO_MEMORY };

    /// The block counts as in use even when its address is there already; the old entry is kept. A block that
    /// replaces another takes over its part of the count.
    Outcome add(void* block, unsigned long size, unsigned long replacedSize) noexcept {
        const ScopedLock lock(mutex_);
        try {
            const bool added = insertLocked(block, size);
            bytesInUse_ += size;
            bytesInUse_ -= replacedSize;
            return added ? Outcome::ADDED : Outcome::DUPLICATE;
        } catch (const std::bad_alloc&) {
            return Outcome::NO_MEMORY;
        }
    }

    /// Forgets the block and tells its size; it goes on counting as in use.
    std::optional<unsigned long> take(void* block) noexcept {
        const ScopedLock lock(mutex_);
        return takeLocked(block);
    }

    /// Forgets the block and tells its size; it no longer counts.
    std::optional<unsigned long> remove(void* block) noexcept {
        const ScopedLock lock(mutex_);
        const std::optional<unsigned long> size = takeLocked(block);
        bytesInUse_ -= size.value_or(0);
        return size;
    }

    std::uint64_t bytesInUse() noexcept {
        const ScopedLock lock(mutex_);
        return bytesInUse_;
    }

private:
    using Blocks = std::unordered_map<void*, unsigned long>;

    bool insertLocked(void* block, unsigned long size) {
        if (spares_.empty()) {
            return blocks_.try_emplace(block, size).second;
        }
        Blocks::node_type node = std::move(spares_.back());
        spares_.pop_back();
        node.key() = block;
        node.mapped() = size;
        return blocks_.insert(std::move(node)).inserted;
    }

    std::optional<unsigned long> takeLocked(void* block) noexcept {
        const auto found = blocks_.find(block);
        if (found == blocks_.end()) {
            return std::nullopt;
        }
        const unsigned long size = found->second;
        Blocks::node_type node = blocks_.extract(found);
        try {
            spares_.push_back(std::move(node));
        } catch (const std::bad_alloc&) {  // then the node goes
        }
        return size;
    }

    Mutex mutex_;  ///< guards all below
    Blocks blocks_;
    std::vector<Blocks::node_type> spares_;  ///< never more than there once were entries
    std::uint64_t bytesInUse_ = 0;
};

/// There before libcurl's first allocation and never destroyed: libcurl may free while static objects go.
MemoryMap& memoryMap() {
    static auto* const map = new MemoryMap;
    return *map;
}

void logFirstAllocation() {
    static std::atomic<bool> first{true};
    if (first.load(std::memory_order_relaxed) && first.exchange(false)) {
        HOOK_LOG(ZEB_LOG_INFO, "LibCurl Memory Manager is Initialised OK!");
    }
}

void logUnknown(void* block) {
    HOOK_LOG(ZEB_LOG_ERROR,
             "LibCurl gave us a pointer that wasn't in the Memory Map. Can't zero the memory at:" << block);
}

/// The block, entered into the map; null, and the block freed, when the map has no room for it.
void* remembered(void* block, unsigned long size, unsigned long replacedSize = 0) {
    switch (memoryMap().add(block, size, replacedSize)) {
        case MemoryMap::Outcome::ADDED:
            break;
        case MemoryMap::Outcome::DUPLICATE:
            HOOK_LOG(ZEB_LOG_ERROR, "MemoryMap already has an entry at pointer:" << block);
            break;
        case MemoryMap::Outcome::NO_MEMORY:
            SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(block), size);
            std::free(block);
            return nullptr;
    }
    return block;
}

/// malloc, entered into the map. Null, logged, when memory has run out.
void* rememberedMalloc(std::size_t size, unsigned long replacedSize = 0) {
    void* block = std::malloc(size);
    if (block != nullptr) {
        block = remembered(block, size, replacedSize);
    }
    if (block == nullptr) {
        HOOK_LOG(ZEB_LOG_ERROR, "malloc returned NULL for size:" << size);
    }
    return block;
}

}  // namespace

void* libcurl_malloc_callback(std::size_t size) {
    void* const block = rememberedMalloc(size);
    logFirstAllocation();
    return block;
}

void* libcurl_calloc_callback(std::size_t nmemb, std::size_t size) {
    void* block = std::calloc(nmemb, size);
    if (block != nullptr) {
        block = remembered(block, nmemb * size);
    }
    if (block == nullptr) {
        HOOK_LOG(ZEB_LOG_ERROR, "calloc returned NULL for nmemb:" << nmemb << " size:" << size);
    }
    return block;
}

char* libcurl_strdup_callback(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    void* copy = strdup(text);
    if (copy != nullptr) {
        copy = remembered(copy, std::strlen(text) + 1);
    }
    if (copy == nullptr) {
        // The text may be a password.
        HOOK_LOG(ZEB_LOG_ERROR, "strdup returned NULL for const char*:" << ZEBLogger_replacePIIData(text));
    }
    return static_cast<char*>(copy);
}

void libcurl_free_callback(void* block) {
    if (block == nullptr) {
        return;
    }
    // Out of the map first: once freed, the address may be another thread's.
    const std::optional<unsigned long> size = memoryMap().remove(block);
    if (size) {
        SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(block), *size);
    } else {
        logUnknown(block);
    }
    std::free(block);
}

void* libcurl_realloc_callback(void* block, std::size_t size) {
    if (block == nullptr) {
        return libcurl_malloc_callback(size);
    }
    const std::optional<unsigned long> knownSize = memoryMap().take(block);
    if (!knownSize) {
        logUnknown(block);
    }
    const unsigned long oldSize = knownSize.value_or(0);
    void* const moved = rememberedMalloc(size, oldSize);
    if (moved == nullptr) {
        // Deliberate: the block is given up as it stands, and remains in the count. libcurl treats every
        // failed resizing as the end of the transfer and doesn't look at the old block again.
        std::free(block);
        return nullptr;
    }
    if (oldSize != 0) {
        std::memcpy(moved, block, std::min<std::size_t>(oldSize, size));
        SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(block), oldSize);
    }
    std::free(block);
    return moved;
}

std::uint64_t libcurl_bytes_in_use() {
    return memoryMap().bytesInUse();
}

}  // namespace zeb::netutils

#pragma once

#include "core/Export.h"

#include <cstddef>
#include <cstdint>

namespace zeb::netutils {

/// The allocator that libcurl runs on, so that nothing it held (headers, credentials, bodies) stays in freed
/// memory: the size of each block is remembered when it is made, and the block is zeroed before it is freed.
///
/// The five hooks have the contracts of their namesakes in the C library, but for what is said here. They may
/// be called from any thread, also while static objects are destroyed, and never throw. Every failure is
/// logged. A block made by them must be freed or resized by them.
ZEBNETUTILS_EXPORT void* libcurl_malloc_callback(std::size_t size);
ZEBNETUTILS_EXPORT void* libcurl_calloc_callback(std::size_t nmemb, std::size_t size);
/// A null text gives null. The log of a failure names the text in its private form only.
ZEBNETUTILS_EXPORT char* libcurl_strdup_callback(const char* text);
/// A block that no hook made is freed without being zeroed.
ZEBNETUTILS_EXPORT void libcurl_free_callback(void* block);
/// Always moves the block, and zeroes the old one. Unlike C's, a failure frees the old block (unzeroed): the
/// caller has nothing left. A block that no hook made loses its contents.
ZEBNETUTILS_EXPORT void* libcurl_realloc_callback(void* block, std::size_t size);

/// For tests and measurements: the bytes that libcurl asked for and hasn't freed yet. Blocks lost by a
/// failing libcurl_realloc_callback() remain in it.
ZEBNETUTILS_EXPORT std::uint64_t libcurl_bytes_in_use();

}  // namespace zeb::netutils

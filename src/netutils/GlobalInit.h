#pragma once

#include "core/Export.h"

namespace zeb::netutils {

/// Starts the process-wide libraries below this one. The host calls it once, before it makes its first
/// client; nothing in this library calls it. Returns 0, also on a repeated call, which does nothing else, and
/// -1 when libcurl could not be started; a later call tries again. Never throws.
///
/// The first call is to be made by one thread alone, as libcurl's own start is; the same holds for
/// GlobalInitLibCurlOnly().
ZEBNETUTILS_EXPORT int GlobalInit();

/// Starts libcurl and nothing else: 0 or -1, as above. GlobalInit() may follow.
ZEBNETUTILS_EXPORT int GlobalInitLibCurlOnly();

/// Ends libcurl for the process, for good: a GlobalInit() after it counts as a repeated one and is ignored.
/// The host calls it once, after its last client has gone. Never throws. An asynchronous request's listener
/// is called before the last of its task has gone: so this first waits, five seconds at most, until no thread
/// of a pool runs a task (one that calls from a task of its own isn't waited for).
ZEBNETUTILS_EXPORT void GlobalCleanup();

/// The steps of the above. libcurl_setup() starts libcurl with the allocator hooks of LibCurlMemoryManager.h,
/// once; true when it is started, by this call or an earlier one.
ZEBNETUTILS_EXPORT bool libcurl_setup();
/// Notes that OpenSSL's threading has been set up: its supported versions bring their own locks. Any thread.
ZEBNETUTILS_EXPORT void openssl_thread_setup();
/// Deletes the locks that were made for OpenSSL, if any.
ZEBNETUTILS_EXPORT void openssl_thread_cleanup();

}  // namespace zeb::netutils

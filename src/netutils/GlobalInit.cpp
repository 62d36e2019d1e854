#include "netutils/GlobalInit.h"

#include "core/Log.h"
#include "core/Mutex.h"
#include "core/RunningTasks.h"
#include "core/ScopedLock.h"
#include "netutils/LibCurlMemoryManager.h"
#include "version/Version.h"

#include <atomic>
#include <map>

#include <curl/curl.h>

namespace zeb::netutils {

namespace {

constexpr long PATIENCE_WITH_TASKS_MS = 5000;

/// Neither flag is ever cleared: libcurl is started once per process, so a GlobalInit() after GlobalCleanup()
/// is deliberately a repeated one.
std::atomic<bool> curlInitialised{false};
std::atomic<bool> opensslInitialised{false};

/// Guards opensslInitialised. Never destroyed, like the locks: a host may clean up from a static destructor.
Mutex& opensslMutex() {
    static auto* const mutex = new Mutex;
    return *mutex;
}

/// The locks made for OpenSSL by number: none, as its supported versions bring their own.
std::map<int, Mutex*>& opensslLocks() {
    static auto* const locks = new std::map<int, Mutex*>;
    return *locks;
}

}  // namespace

int GlobalInit() {
    if (curlInitialised && opensslInitialised) {
        ZEB_LOG_DEBUG(zeb::log::netutils(), "netutils GlobalInit previously called.  Ignore this call.");
        return 0;
    }
    version::Version::printVersion();
    if (!libcurl_setup()) {
        return -1;
    }
    ZEB_LOG_DEBUG(zeb::log::netutils(), "openssl thread setup -setting locking and threadid callbacks");
    openssl_thread_setup();
    return 0;
}

int GlobalInitLibCurlOnly() {
    return libcurl_setup() ? 0 : -1;
}

void GlobalCleanup() {
    // A client that has gone may have left a task behind that still has a handle of libcurl's.
    if (!RunningTasks::getInstance().awaitNone(PATIENCE_WITH_TASKS_MS)) {
        ZEB_LOG_WARNING(log::netutils(), "Tasks of thread pools still run while libcurl ends");
    }
    ZEB_LOG_DEBUG(zeb::log::netutils(), "libcurl global cleanup (curl_global_cleanup)");
    curl_global_cleanup();
    ZEB_LOG_DEBUG(zeb::log::netutils(), "openssl thread cleanup");
    openssl_thread_cleanup();
}

bool libcurl_setup() {
    if (curlInitialised) {
        return true;
    }
    ZEB_LOG_DEBUG(zeb::log::netutils(), "libcurl global initialization (curl_global_init_mem)");
    const CURLcode result =
        curl_global_init_mem(CURL_GLOBAL_ALL, libcurl_malloc_callback, libcurl_free_callback,
                             libcurl_realloc_callback, libcurl_strdup_callback, libcurl_calloc_callback);
    if (result != CURLE_OK) {
        ZEB_LOG_DEBUG(zeb::log::netutils(),
                      "curl_global_init_mem() failed, last error: " << curl_easy_strerror(result));
        return false;
    }
    curlInitialised = true;
    return true;
}

void openssl_thread_setup() {
    if (opensslInitialised) {
        return;
    }
    const ScopedLock lock(opensslMutex());
    if (opensslInitialised) {
        return;
    }
    // With the OpenSSL in use there is nothing to register; the lines keep saying how far the start came.
    ZEB_LOG_DEBUG(zeb::log::netutils(),
                  "Call CRYPTO_set_id_callback(thread_id), as no callback has been previously set.");
    ZEB_LOG_DEBUG(zeb::log::netutils(),
                  "Call CRYPTO_set_locking_callback(openssl_locking_callback), as no callback has been "
                  "previously set.");
    opensslInitialised = true;
}

void openssl_thread_cleanup() {
    for (auto& entry : opensslLocks()) {
        delete entry.second;
        entry.second = nullptr;
    }
}

}  // namespace zeb::netutils

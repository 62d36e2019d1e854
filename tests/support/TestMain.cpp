#include "support/Threads.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <openssl/crypto.h>

namespace {

using zeb::test::ThreadState;
using zeb::test::threadStates;

/// Pools that live as long as the process. Their idle threads bear their names.
bool isOfALastingPool(const std::string& thread) {
    return thread == "SharedPool" || thread == "NetEventReport" || thread == "NetEventNotify";
}

/// Threads that run a pool's task, or are about to end. One of a pool that has been replaced bears the name
/// of a lasting one until its end, but is awake by then; one of ThreadSanitizer's own bears that of the main
/// thread.
bool threadsAreEnding() {
    const std::vector<ThreadState> threads = threadStates();
    const auto main = std::find_if(threads.begin(), threads.end(),
                                   [](const ThreadState& thread) { return thread.id == getpid(); });
    return std::any_of(threads.begin(), threads.end(), [&](const ThreadState& thread) {
        const bool idle = isOfALastingPool(thread.name) && thread.asleep;
        return thread.name != main->name && !idle;
    });
}

/// Pools don't wait for their threads. One that still uses OpenSSL when that is cleaned up at the end of the
/// process races with it, and one that ends after leaves behind what OpenSSL keeps for each thread: the
/// sanitizers see both. So let them end first.
void waitForThreadsThatEnd() {
    // Looked at more than once: a thread that is ending may sleep for a moment, waiting for a lock.
    zeb::test::awaitThreads([] { return !threadsAreEnding(); }, 5, std::chrono::seconds(5));
}

}  // namespace

/// The environment of the machine must not decide what a test sees.
int main(int argc, char** argv) {
    for (const char* name : {"SSL_CERT_FILE", "SSL_CERT_DIR", "CURL_CA_BUNDLE", "http_proxy", "https_proxy",
                             "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
        unsetenv(name);
    }
#ifdef __SANITIZE_THREAD__
    // What OpenSSL frees at the end of the process the idle threads of lasting pools have used before. That
    // they don't any more is nothing ThreadSanitizer could see.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
#endif
    testing::InitGoogleMock(&argc, argv);
    const int status = RUN_ALL_TESTS();
    waitForThreadsThatEnd();
    return status;
}

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>
#include <openssl/crypto.h>

namespace {

std::string nameOf(const std::filesystem::path& thread) {
    std::ifstream comm(thread / "comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

/// Pools that live as long as the process. Their idle threads bear their names.
bool isOfALastingPool(const std::string& thread) {
    return thread == "SharedPool" || thread == "NetEventReport" || thread == "NetEventNotify";
}

/// One of a pool that has been replaced bears such a name until its end: it is awake by then.
bool isAsleep(const std::filesystem::path& thread) {
    std::ifstream stat(thread / "stat");
    std::string line;
    std::getline(stat, line);
    const std::size_t nameEnd = line.rfind(") ");
    return nameEnd != std::string::npos && line.compare(nameEnd + 2, 1, "S") == 0;
}

/// Threads that run a pool's task, or are about to end. One of ThreadSanitizer's own bears the name of the
/// main thread.
bool threadsAreEnding() {
    const std::filesystem::path threads = "/proc/self/task";
    const std::string mainName = nameOf(threads / std::to_string(getpid()));
    std::error_code error;
    for (const auto& thread : std::filesystem::directory_iterator(threads, error)) {
        const std::string name = nameOf(thread.path());
        const bool idle = isOfALastingPool(name) && isAsleep(thread.path());
        if (!name.empty() && name != mainName && !idle) {
            return true;
        }
    }
    return false;
}

/// Pools don't wait for their threads. One that still uses OpenSSL when that is cleaned up at the end of the
/// process races with it, and one that ends after leaves behind what OpenSSL keeps for each thread: the
/// sanitizers see both. So let them end first.
void waitForThreadsThatEnd() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    // Looked at more than once: a thread that is ending may sleep for a moment, waiting for a lock.
    for (int calm = 0; calm < 5 && std::chrono::steady_clock::now() < deadline;) {
        calm = threadsAreEnding() ? 0 : calm + 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
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

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>

namespace {

/// The shared pool lives as long as the process: its idle threads bear its name.
bool staysForEver(const std::filesystem::path& thread) {
    std::ifstream comm(thread / "comm");
    std::string name;
    std::getline(comm, name);
    return !comm || name == "SharedPool";
}

[[maybe_unused]] bool threadsAreEnding() {
    std::error_code error;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", error)) {
        if (thread.path().filename() != std::to_string(getpid()) && !staysForEver(thread.path())) {
            return true;
        }
    }
    return false;
}

/// Pools don't wait for their threads. One that ends after OpenSSL has been cleaned up at the end of the
/// process leaves what OpenSSL keeps for each thread behind, which LeakSanitizer sees; so let them end first.
void waitForThreadsThatEnd() {
#ifndef __SANITIZE_THREAD__  // it has a thread of its own, and looks for no leaks
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (threadsAreEnding() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
#endif
}

}  // namespace

/// The environment of the machine must not decide what a test sees.
int main(int argc, char** argv) {
    for (const char* name : {"SSL_CERT_FILE", "SSL_CERT_DIR", "CURL_CA_BUNDLE", "http_proxy", "https_proxy",
                             "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
        unsetenv(name);
    }
    testing::InitGoogleMock(&argc, argv);
    const int status = RUN_ALL_TESTS();
    waitForThreadsThatEnd();
    return status;
}

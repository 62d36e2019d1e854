#include "support/Lab.h"

#include "support/Sockets.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <sstream>
#include <sys/inotify.h>
#include <unistd.h>

namespace zeb::test {
namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

void requireLab() {
    if (environment("ZEB_LAB") == "1") {
        return;
    }
    const std::string reason = environment("ZEB_LAB_MISSING");
    GTEST_SKIP() << "No lab: " << (reason.empty() ? "run it by './run test' or 'lab/enter'" : reason);
}

namespace lab {

std::string url(const std::string& path) {
    return url(ORIGIN, path);
}

std::string secureUrl(const std::string& path) {
    return secureUrl(ORIGIN, path);
}

std::string url(const std::string& host, const std::string& path) {
    return "http://" + host + path;
}

std::string secureUrl(const std::string& host, const std::string& path) {
    return "https://" + host + path;
}

std::string rawUrl(const std::string& path) {
    return "http://" + ORIGIN + ":8100" + path;
}

std::string startProxies() {
    // Its answer goes to standard error; the status is enough here.
    const std::string command = "'" + environment("ZEB_LAB_PROXIES") + "'";
    return std::system(command.c_str()) == 0 ? "" : command + " failed";
}

std::string logOf(const std::string& file) {
    std::ifstream log(directory() + "/" + file);
    return {std::istreambuf_iterator<char>(log), std::istreambuf_iterator<char>()};
}

std::string awaitLine(const std::string& file, const std::string& text) {
    const Descriptor changes(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (::inotify_add_watch(changes.get(), (directory() + "/" + file).c_str(), IN_MODIFY) < 0) {
        throwErrno("inotify_add_watch");
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    pollfd changed{changes.get(), POLLIN, 0};
    do {
        std::array<char, 4096> events{};
        while (::read(changes.get(), events.data(), events.size()) > 0) {
        }
        std::istringstream log(logOf(file));
        for (std::string line; std::getline(log, line);) {
            if (line.find(text) != std::string::npos) {
                return line;
            }
        }
    } while (std::chrono::steady_clock::now() < end && ::poll(&changed, 1, 10000) > 0);
    return "";
}

std::string authorityFile() {
    return environment("ZEB_LAB_CA");
}

std::string directory() {
    return environment("ZEB_LAB_DIR");
}

bool hasIpv6() {
    return environment("ZEB_LAB_IPV6") == "1";
}

}  // namespace lab
}  // namespace zeb::test

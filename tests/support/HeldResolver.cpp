#include "support/HeldResolver.h"

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <netdb.h>
#include <new>

namespace zeb::test {

namespace {

struct State {
    std::mutex mutex;  ///< guards what follows
    std::condition_variable changed;
    bool alive = false;
    bool released = false;
    std::size_t come = 0;
    std::size_t inside = 0;

    /// True when the name is the held one, which has been let go by now.
    bool passed(const char* name) {
        std::unique_lock<std::mutex> lock(mutex);
        if (!alive || name == nullptr || std::strcmp(name, HeldResolver::NAME) != 0) {
            return false;
        }
        ++come;
        ++inside;
        changed.notify_all();
        changed.wait(lock, [this] { return released; });
        --inside;
        changed.notify_all();
        return true;
    }
};

/// Neither allocated, for tests that count, nor destroyed, for threads that look up until the end.
State& state() {
    alignas(State) static unsigned char storage[sizeof(State)];
    static auto& only = *new (storage) State;
    return only;
}

}  // namespace

HeldResolver::HeldResolver() {
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().alive = true;
    state().released = false;
    state().come = 0;
}

HeldResolver::~HeldResolver() {
    release();
    std::unique_lock<std::mutex> lock(state().mutex);
    state().alive = false;
    state().changed.wait(lock, [] { return state().inside == 0; });
}

bool HeldResolver::waitFor(std::size_t lookUps) {
    std::unique_lock<std::mutex> lock(state().mutex);
    return state().changed.wait_for(lock, std::chrono::seconds(10),
                                    [lookUps] { return state().come >= lookUps; });
}

void HeldResolver::release() {
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().released = true;
    state().changed.notify_all();
}

}  // namespace zeb::test

/// Stands before the C library's own, for libcurl's resolver threads, too.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    using GetAddressInfo = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto next = reinterpret_cast<GetAddressInfo>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(zeb::test::state().passed(name) ? "127.0.0.1" : name, service, hints, result);
}

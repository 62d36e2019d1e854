#include "unit/http/MultiCurlSeam.h"

#include "core/Event.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <pthread.h>

#include <curl/curl.h>

namespace zeb::http::test {
namespace {

std::atomic<MultiCurlSeam*> seam{nullptr};

bool useUp(std::atomic<int>& count) {
    int left = count;
    while (left > 0 && !count.compare_exchange_weak(left, left - 1)) {
    }
    return left > 0;
}

}  // namespace

struct MultiCurlSeamCalls {
    static void noteWait(MultiCurlSeam& at, int milliseconds) {
        const std::lock_guard<std::mutex> lock(at.mutex_);
        at.waits_.push_back(milliseconds);
    }
    static void noteLength(MultiCurlSeam& at, long ms) {
        const std::lock_guard<std::mutex> lock(at.mutex_);
        at.lastWaitMs_ = ms;
        at.waited_.notify_all();
    }
    static void noteIdle(MultiCurlSeam& at, long milliseconds) {
        const std::lock_guard<std::mutex> lock(at.mutex_);
        at.idleTimes_.push_back(milliseconds);
        at.waited_.notify_all();
    }
};

MultiCurlSeam::MultiCurlSeam() {
    seam = this;
}

MultiCurlSeam::~MultiCurlSeam() {
    seam = nullptr;
}

std::vector<int> MultiCurlSeam::waits() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return waits_;
}

std::vector<long> MultiCurlSeam::idleTimes() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return idleTimes_;
}

bool MultiCurlSeam::awaitWaitOf(long ms) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return waited_.wait_for(lock, std::chrono::seconds(10), [&] { return lastWaitMs_ > ms; });
}

bool MultiCurlSeam::awaitIdleWaits(std::size_t count) const {
    std::unique_lock<std::mutex> lock(mutex_);
    return waited_.wait_for(lock, std::chrono::seconds(10), [&] { return idleTimes_.size() >= count; });
}

}  // namespace zeb::http::test

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp): the linker's names
using namespace zeb::http::test;

extern "C" {

CURLMcode __real_curl_multi_add_handle(CURLM* multi, CURL* easy);
CURLMcode __wrap_curl_multi_add_handle(CURLM* multi, CURL* easy);
CURLMcode __real_curl_multi_remove_handle(CURLM* multi, CURL* easy);
CURLMcode __wrap_curl_multi_remove_handle(CURLM* multi, CURL* easy);
CURLMcode __real_curl_multi_perform(CURLM* multi, int* running);
CURLMcode __wrap_curl_multi_perform(CURLM* multi, int* running);
CURLMcode __real_curl_multi_wait(CURLM* multi, curl_waitfd* extra, unsigned int count, int ms, int* ready);
CURLMcode __wrap_curl_multi_wait(CURLM* multi, curl_waitfd* extra, unsigned int count, int ms, int* ready);
CURLMsg* __real_curl_multi_info_read(CURLM* multi, int* left);
CURLMsg* __wrap_curl_multi_info_read(CURLM* multi, int* left);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                          void* data);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                          void* data);
bool __real__ZN3zeb5Event9timedWaitEl(zeb::Event* event, long milliseconds);
bool __wrap__ZN3zeb5Event9timedWaitEl(zeb::Event* event, long milliseconds);

CURLMcode __wrap_curl_multi_add_handle(CURLM* multi, CURL* easy) {
    if (MultiCurlSeam* const at = seam) {
        ++at->adds;
        if (useUp(at->failingAdds)) {
            return CURLM_OUT_OF_MEMORY;
        }
    }
    return __real_curl_multi_add_handle(multi, easy);
}

CURLMcode __wrap_curl_multi_remove_handle(CURLM* multi, CURL* easy) {
    const CURLMcode code = __real_curl_multi_remove_handle(multi, easy);
    if (MultiCurlSeam* const at = seam) {
        ++at->removes;
        if (useUp(at->failingRemoves)) {
            return CURLM_BAD_EASY_HANDLE;
        }
    }
    return code;
}

CURLMcode __wrap_curl_multi_perform(CURLM* multi, int* running) {
    const CURLMcode code = __real_curl_multi_perform(multi, running);
    if (MultiCurlSeam* const at = seam) {
        ++at->performs;
        if (const int other = at->performCode.exchange(0)) {
            return static_cast<CURLMcode>(other);
        }
    }
    return code;
}

CURLMcode __wrap_curl_multi_wait(CURLM* multi, curl_waitfd* extra, unsigned int count, int ms, int* ready) {
    if (MultiCurlSeam* const at = seam) {
        MultiCurlSeamCalls::noteWait(*at, extra == nullptr && count == 0 ? ms : -1);
        if (useUp(at->failingWaits)) {
            return CURLM_INTERNAL_ERROR;
        }
        ms = std::min(ms, at->longestWaitMs.load());
        long timer = -1;
        curl_multi_timeout(multi, &timer);
        MultiCurlSeamCalls::noteLength(*at, timer < 0 ? ms : std::min<long>(ms, timer));
    }
    return __real_curl_multi_wait(multi, extra, count, ms, ready);
}

CURLMsg* __wrap_curl_multi_info_read(CURLM* multi, int* left) {
    if (MultiCurlSeam* const at = seam) {
        static CURLMsg odd{};
        if (useUp(at->oddMessages)) {
            odd.msg = CURLMSG_LAST;
            *left = 1;
            return &odd;
        }
    }
    return __real_curl_multi_info_read(multi, left);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                          void* data) {
    if (MultiCurlSeam* const at = seam) {
        if (useUp(at->failingThread) && at->failingThread == 0) {
            return EAGAIN;
        }
    }
    return __real_pthread_create(thread, attributes, run, data);
}

bool __wrap__ZN3zeb5Event9timedWaitEl(zeb::Event* event, long milliseconds) {
    if (MultiCurlSeam* const at = seam) {
        MultiCurlSeamCalls::noteIdle(*at, milliseconds);
        if (milliseconds == at->expiringLengthMs) {
            return false;
        }
        if (useUp(at->expiringIdleWaits)) {
            return false;
        }
    }
    return __real__ZN3zeb5Event9timedWaitEl(event, milliseconds);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp)

#include "http/MultiCurlConnection.h"

#include "core/Log.h"
#include "core/ScopedLock.h"

#include <cstdint>
#include <iomanip>
#include <pthread.h>
#include <sstream>

#include <curl/curl.h>

namespace zeb::http {

namespace {

constexpr std::uintptr_t LOW_16_BITS = 0xffff;
constexpr int FOUR_DIGITS = 4;

std::uintptr_t numberOf(const void* handle) {
    return reinterpret_cast<std::uintptr_t>(handle);
}

std::string prefixOf(const void* handle) {
    std::ostringstream text;
    text << "["
         << "0x" << std::hex << numberOf(handle) << "] ";
    return text.str();
}

}  // namespace

MultiCurlConnection::MultiCurlConnection() : handle_(curl_multi_init()), logPrefix_(prefixOf(handle_)) {
    if (handle_ != nullptr) {
        setPipelining(true);
    }
}

MultiCurlConnection::~MultiCurlConnection() {
    curl_multi_cleanup(handle_);
}

int MultiCurlConnection::setPipelining(bool enabled) {
    const CURLMcode code = curl_multi_setopt(handle_, CURLMOPT_PIPELINING, enabled ? CURLPIPE_HTTP1 : 0L);
    if (enabled && code == CURLM_OK) {
        // Without this one, the first would turn off what HTTP/2 has in place of pipelining.
        curl_multi_setopt(handle_, CURLMOPT_PIPELINING, CURLPIPE_HTTP1 | CURLPIPE_MULTIPLEX);
    }
    return code;
}

std::string MultiCurlConnection::threadName(const std::string& prefix) const {
    std::ostringstream text;
    text << prefix << "-" << std::hex << std::setw(FOUR_DIGITS) << std::setfill('0')
         << (numberOf(handle_) & LOW_16_BITS);
    ZEB_LOG_INFO(log::httpClient(), logPrefix_ << "Thread Name : " << text.str());
    return text.str();
}

// --- turns -------------------------------------------------------------------------------------------------

MultiCurlConnection::Visit::Visit(MultiCurlConnection& connection) : connection_(connection) {
    const ScopedLock lock(connection.visitsMutex_);
    if (!connection.driving_ || connection.callingOut_ || connection.isDriver()) {
        ++connection.inside_;
        return;
    }
    ++connection.waiting_;
    // Whoever lets us in counts us in.
    for (const std::uint64_t turn = connection.turn_; connection.turn_ == turn;) {
        if (connection.callingOut_) {
            --connection.waiting_;
            ++connection.inside_;
            return;
        }
        connection.visitorsMayEnter_.wait(connection.visitsMutex_);
    }
}

MultiCurlConnection::Visit::~Visit() {
    const ScopedLock lock(connection_.visitsMutex_);
    if (--connection_.inside_ == 0) {
        connection_.visitorsHaveLeft_.signal();
    }
}

/// With visitsMutex_ held.
void MultiCurlConnection::letIn() {
    if (waiting_ != 0) {
        inside_ += waiting_;
        waiting_ = 0;
        ++turn_;
        visitorsMayEnter_.broadcast();
    }
}

/// With visitsMutex_ held, while driven.
bool MultiCurlConnection::isDriver() const {
    return pthread_equal(driver_, pthread_self()) != 0;
}

void MultiCurlConnection::startDriving() {
    const ScopedLock lock(visitsMutex_);
    driver_ = pthread_self();
    driving_ = true;
}

void MultiCurlConnection::stopDriving() {
    const ScopedLock lock(visitsMutex_);
    driving_ = false;
    letIn();
}

void MultiCurlConnection::giveWay() {
    const ScopedLock lock(visitsMutex_);
    letIn();
    while (inside_ != 0) {
        visitorsHaveLeft_.wait(visitsMutex_);
    }
}

void MultiCurlConnection::setCallingOut(bool calling) {
    callingOut_ = calling;
    // A visitor counts itself as waiting before it looks at the flag: one of the two is seen in time.
    if (calling && waiting_ != 0) {
        const ScopedLock lock(visitsMutex_);
        visitorsMayEnter_.broadcast();
    }
}

// --- waits -------------------------------------------------------------------------------------------------

bool MultiCurlConnection::beginWait() {
    const ScopedLock lock(waitMutex_);
    inWait_ = !interrupted_;
    return inWait_;
}

void MultiCurlConnection::endWait() {
    const ScopedLock lock(waitMutex_);
    inWait_ = false;
}

void MultiCurlConnection::interruptWait() {
    const ScopedLock lock(waitMutex_);
    interrupted_ = true;
    if (inWait_) {
        sockets_.shutdownAll();
    }
}

}  // namespace zeb::http

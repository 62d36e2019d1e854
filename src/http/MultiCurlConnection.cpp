#include "http/MultiCurlConnection.h"

#include "core/Log.h"
#include "core/ScopedLock.h"
#include "http/ConnectionGroup.h"
#include "http/HttpRequestData.h"

#include <cstdint>
#include <iomanip>
#include <sstream>

#include <curl/curl.h>

namespace zeb::http {

namespace {

constexpr std::size_t KEPT_GROUPS = 8;
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
        curl_multi_setopt(handle_, CURLMOPT_PIPELINING, 1L);
    }
}

MultiCurlConnection::~MultiCurlConnection() {
    curl_multi_cleanup(handle_);
}

std::string MultiCurlConnection::threadName(const std::string& prefix) const {
    std::ostringstream text;
    text << prefix << "-" << std::hex << std::setw(FOUR_DIGITS) << std::setfill('0')
         << (numberOf(handle_) & LOW_16_BITS);
    ZEB_LOG_INFO(log::httpClient(), logPrefix_ << "Thread Name : " << text.str());
    return text.str();
}

// --- turns -------------------------------------------------------------------------------------------------

MultiCurlConnection::GuestLock::GuestLock(MultiCurlConnection& connection) : connection_(connection) {
    std::size_t generation = 0;
    {
        const ScopedLock lock(connection.guestsMutex_);
        generation = connection.generation_;
        ++connection.waitingGuests_.at(generation);
    }
    connection.mutex_.lock();
    const ScopedLock lock(connection.guestsMutex_);
    if (--connection.waitingGuests_.at(generation) == 0) {
        connection.guestsServed_.broadcast();
    }
}

MultiCurlConnection::GuestLock::~GuestLock() {
    connection_.mutex_.unlock();
}

void MultiCurlConnection::giveWay() {
    const ScopedLock lock(guestsMutex_);
    const std::size_t waiting = generation_;
    if (waitingGuests_.at(waiting) == 0) {
        return;
    }
    // The other count is zero: the call before saw to it.
    generation_ = 1 - waiting;
    while (waitingGuests_.at(waiting) != 0) {
        guestsServed_.wait(guestsMutex_);
    }
}

// --- connections -------------------------------------------------------------------------------------------

void MultiCurlConnection::adopt(HttpRequestData& requestData) {
    CURL* const easy = requestData.getEasyHandle();
    sockets_.watch(easy);
    const std::string key = ConnectionGroup::keyOf(requestData);
    if (!key.empty()) {
        requestData.setConnectionGroup(
            ConnectionGroup::isAlone(requestData) ? std::make_shared<ConnectionGroup>() : groupOf(key));
        requestData.getConnectionGroup()->join(easy);
    }
}

void MultiCurlConnection::release(HttpRequestData& requestData) {
    if (requestData.getConnectionGroup() != nullptr) {
        ConnectionGroup::leave(requestData.getEasyHandle());
        requestData.setConnectionGroup(nullptr);
    }
}

std::shared_ptr<ConnectionGroup> MultiCurlConnection::groupOf(const std::string& key) {
    for (auto known = groups_.begin(); known != groups_.end(); ++known) {
        if (known->first == key) {
            groups_.splice(groups_.begin(), groups_, known);
            return groups_.front().second;
        }
    }
    groups_.emplace_front(key, std::make_shared<ConnectionGroup>());
    if (groups_.size() > KEPT_GROUPS) {
        groups_.pop_back();
    }
    return groups_.front().second;
}

}  // namespace zeb::http

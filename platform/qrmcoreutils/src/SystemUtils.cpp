#include "qrmcoreutils/QRMCoreUtils.h"

#include <chrono>
#include <mutex>

namespace QRMCoreUtils {

namespace {

/// Never destroyed: a request may run while the process ends.
struct UserAgent {
    std::mutex mutex;  ///< guards chosen
    std::string chosen;
};

UserAgent& userAgent() {
    static auto& instance = *new UserAgent;
    return instance;
}

}  // namespace

std::int64_t TimeUtils::getCurrentTimeInSeconds() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count();
}

std::string SystemUtils::getHttpUserAgent() {
    const std::lock_guard<std::mutex> lock(userAgent().mutex);
    return userAgent().chosen.empty() ? "zebnetutils/" ZEB_VERSION : userAgent().chosen;
}

void SystemUtils::setHttpUserAgent(const std::string& chosen) {
    const std::lock_guard<std::mutex> lock(userAgent().mutex);
    userAgent().chosen = chosen;
}

}  // namespace QRMCoreUtils

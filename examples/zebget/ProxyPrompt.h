#pragma once

#include "core/SecureString.h"
#include "http/ProxyAuthenticationCallback.h"

#include <future>
#include <mutex>
#include <string>

namespace zebget {

/// The host's part when a proxy asks for credentials. The request is parked meanwhile; the question comes on
/// the transfer's thread and must not block it, so the answer is found on a thread of its own.
///
/// A known password is tried first, then the user is asked. An empty one means no: the request ends as it was
/// refused.
class ProxyPrompt : public zeb::http::ProxyAuthenticationCallback {
public:
    /// Without a user every question is answered with no. The password may be empty.
    ProxyPrompt(std::string user, zeb::SecureString password);

    void onProxyAuthenticationRequired(const std::string& proxyUrl) override;
    void onProxyInfoUpdated(bool useProxy, const std::string& authType) override;

    /// Waits for the end of the last answer. The library keeps its callbacks as long as the process lives.
    void finish();

private:
    void answer(const std::string& proxyUrl);

    const std::string user_;
    zeb::SecureString password_;
    std::mutex mutex_;  ///< guards answering_
    std::future<void> answering_;
};

}  // namespace zebget

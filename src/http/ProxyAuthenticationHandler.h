#pragma once

#include "core/Export.h"
#include "core/Mutex.h"
#include "core/SecureString.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zeb::http {

class ProxyAuthenticationCallback;

/// Parks the requests that a proxy refused with 407 until the host answers with credentials, and keeps those
/// credentials for the requests that follow. One per process.
///
/// callbacksMutex_, functionsMutex_ and credentialMutex_ are never held together.
class ZEBNETUTILS_EXPORT ProxyAuthenticationHandler {
public:
    static std::shared_ptr<ProxyAuthenticationHandler> getInstance();

    ProxyAuthenticationHandler(const ProxyAuthenticationHandler&) = delete;
    ProxyAuthenticationHandler& operator=(const ProxyAuthenticationHandler&) = delete;
    virtual ~ProxyAuthenticationHandler();

    /// A null callback is ignored.
    void registerProxyAuthenticationCallback(std::shared_ptr<ProxyAuthenticationCallback> callback);

    /// Called by a client, on the transfer thread. With `wait` the request stays parked until the host
    /// answers; without it `finish` runs at once. `retry` is parked in both cases: a credential that comes
    /// later runs it, even though the request has been answered.
    void handleProxyAuthRequired(const std::string& proxyUrl, bool wait, std::function<void()> retry,
                                 std::function<void()> finish);

    /// Called by the host: stores credentials, retries nothing.
    void initProxyCredential(const std::string& proxyUrl, const std::string& username,
                             const SecureString& password, const std::string& authType);
    /// Called by the host, in answer to onProxyAuthenticationRequired: stores user and password if neither is
    /// empty, and runs what is parked on the shared pool: the retries, or with both empty (the user declined)
    /// the finish functions.
    void setProxyCredential(const std::string& proxyUrl, const std::string& username,
                            const SecureString& password);
    /// Fills the outputs only if `proxyUrl` isn't empty and occurs in the stored URL.
    void getProxyCredential(const std::string& proxyUrl, std::string& username, SecureString& password,
                            std::string& authType);

    /// Called by a client after each transfer; tells the callbacks when something changed.
    void updateProxyInfo(bool useProxy, const std::string& authType);

    /// Forgets credentials and proxy info. What is parked stays parked.
    void reset();

private:
    ProxyAuthenticationHandler();

    bool storeCredential(const std::string& proxyUrl, const std::string& username,
                         const SecureString& password, const std::string* authType);
    void executeHttpFunctions(bool retry);
    void notifyOnProxyAuthenticationRequired(const std::string& proxyUrl);
    void notifyOnProxyInfoUpdated(bool useProxy, const std::string& authType);

    Mutex callbacksMutex_;  ///< guards callbacks_; held while they are called
    std::set<std::shared_ptr<ProxyAuthenticationCallback>> callbacks_;
    Mutex functionsMutex_;  ///< guards the two lists
    std::vector<std::function<void()>> retryFunctions_;
    std::vector<std::function<void()>> finishFunctions_;
    Mutex credentialMutex_;  ///< guards all below
    std::string username_;
    SecureString password_;
    std::string proxyUrl_;
    bool useProxy_ = false;
    std::string proxyAuthType_ = "NONE";
};

}  // namespace zeb::http

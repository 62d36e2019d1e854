#include "http/ProxyAuthenticationHandler.h"

#include "core/Log.h"
#include "core/ScopedLock.h"
#include "http/ProxyAuthenticationCallback.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <utility>

namespace zeb::http {

namespace {

constexpr char NO_PROXY[] = "NONE";
constexpr char PROXY_WITHOUT_AUTHENTICATION[] = "NOAUTH";

}  // namespace

ProxyAuthenticationHandler::ProxyAuthenticationHandler() = default;
ProxyAuthenticationHandler::~ProxyAuthenticationHandler() = default;

std::shared_ptr<ProxyAuthenticationHandler> ProxyAuthenticationHandler::getInstance() {
    // Never destroyed: parked requests and the threads of the shared pool may outlive static destruction.
    static const auto* const instance =
        new std::shared_ptr<ProxyAuthenticationHandler>(new ProxyAuthenticationHandler);
    return *instance;
}

void ProxyAuthenticationHandler::registerProxyAuthenticationCallback(
    std::shared_ptr<ProxyAuthenticationCallback> callback) {
    if (callback == nullptr) {
        return;
    }
    const ScopedLock lock(callbacksMutex_);
    callbacks_.insert(std::move(callback));
}

void ProxyAuthenticationHandler::handleProxyAuthRequired(const std::string& proxyUrl, bool wait,
                                                         std::function<void()> retry,
                                                         std::function<void()> finish) {
    ZEB_LOG_INFO(log::httpClient(), "Handle proxy authentication required.");
    if (wait) {
        const ScopedLock lock(functionsMutex_);
        finishFunctions_.push_back(std::move(finish));
    } else if (finish) {
        finish();
    }
    {
        const ScopedLock lock(functionsMutex_);
        retryFunctions_.push_back(std::move(retry));
    }
    notifyOnProxyAuthenticationRequired(proxyUrl);
}

void ProxyAuthenticationHandler::notifyOnProxyAuthenticationRequired(const std::string& proxyUrl) {
    const ScopedLock lock(callbacksMutex_);
    for (const auto& callback : callbacks_) {
        callback->onProxyAuthenticationRequired(proxyUrl);
    }
}

bool ProxyAuthenticationHandler::storeCredential(const std::string& proxyUrl, const std::string& username,
                                                 const SecureString& password, const std::string* authType) {
    if (proxyUrl.empty()) {
        ZEB_LOG_WARNING(log::httpClient(), "Proxy address is empty!");
    }
    if (username.empty() || password.empty()) {
        return false;
    }
    const ScopedLock lock(credentialMutex_);
    proxyUrl_ = proxyUrl;
    username_ = username;
    password_ = password;
    if (authType != nullptr) {
        proxyAuthType_ = *authType;
    }
    return true;
}

void ProxyAuthenticationHandler::initProxyCredential(const std::string& proxyUrl, const std::string& username,
                                                     const SecureString& password,
                                                     const std::string& authType) {
    const bool stored = storeCredential(proxyUrl, username, password, &authType);
    ZEB_LOG_INFO(log::httpClient(), "Initial proxy credential for "
                                        << ZEBLogger_replacePIIData(proxyUrl)
                                        << (stored ? " stored" : " not complete"));
}

void ProxyAuthenticationHandler::setProxyCredential(const std::string& proxyUrl, const std::string& username,
                                                    const SecureString& password) {
    const bool stored = storeCredential(proxyUrl, username, password, nullptr);
    ZEB_LOG_INFO(log::httpClient(), "Proxy credential for " << ZEBLogger_replacePIIData(proxyUrl)
                                                            << (stored ? " stored" : " not complete"));
    // A user without a password retries, too, with the former credential: only both empty is a "no".
    executeHttpFunctions(!username.empty() || !password.empty());
}

void ProxyAuthenticationHandler::executeHttpFunctions(bool retry) {
    // Destroyed after the lock has gone: with a retry may end its request, and what the host tied to it.
    std::vector<std::function<void()>> dropped;
    const ScopedLock lock(functionsMutex_);
    ZEB_LOG_INFO(log::httpClient(), "Retry: " << retry);
    for (const auto& function : retry ? retryFunctions_ : finishFunctions_) {
        if (function) {
            QRMCoreUtils::ThreadUtils::runInThreadPool(function, retry ? "retryFunc" : "finishFunc");
        }
    }
    dropped.swap(retryFunctions_);
    // Deliberate: after the lines above this never holds, so the finish functions stay and run again on a
    // later refusal. Whoever waits sees the first run only; hosts have come to rely on the second notice.
    if (!retryFunctions_.empty()) {
        finishFunctions_.clear();
    }
}

void ProxyAuthenticationHandler::getProxyCredential(const std::string& proxyUrl, std::string& username,
                                                    SecureString& password, std::string& authType) {
    const ScopedLock lock(credentialMutex_);
    if (!proxyUrl.empty() && proxyUrl_.find(proxyUrl) != std::string::npos) {
        username = username_;
        password = password_;
        authType = proxyAuthType_;
    }
}

void ProxyAuthenticationHandler::updateProxyInfo(bool useProxy, const std::string& authType) {
    std::string value = authType;
    if (!useProxy) {
        value = NO_PROXY;
    } else if (value.empty()) {
        value = PROXY_WITHOUT_AUTHENTICATION;
    }
    {
        const ScopedLock lock(credentialMutex_);
        if (useProxy == useProxy_ && QRMCoreUtils::caseInsensitiveStringEquals(value, proxyAuthType_)) {
            return;
        }
        useProxy_ = useProxy;
        proxyAuthType_ = value;
    }
    ZEB_LOG_INFO(log::httpClient(), "UseProxy: " << useProxy << " ProxyAuthType: " << value);
    notifyOnProxyInfoUpdated(useProxy, QRMCoreUtils::toUppercase(value));
}

void ProxyAuthenticationHandler::notifyOnProxyInfoUpdated(bool useProxy, const std::string& authType) {
    const ScopedLock lock(callbacksMutex_);
    for (const auto& callback : callbacks_) {
        callback->onProxyInfoUpdated(useProxy, authType);
    }
}

void ProxyAuthenticationHandler::reset() {
    const ScopedLock lock(credentialMutex_);
    username_.clear();
    password_ = SecureString();
    proxyUrl_.clear();
    useProxy_ = false;
    proxyAuthType_ = NO_PROXY;
}

}  // namespace zeb::http

#include "ProxyPrompt.h"

#include "Password.h"
#include "http/ProxyAuthenticationHandler.h"

#include <utility>

namespace zebget {

ProxyPrompt::ProxyPrompt(std::string user, zeb::SecureString password)
    : user_(std::move(user)), password_(std::move(password)) {}

void ProxyPrompt::onProxyAuthenticationRequired(const std::string& proxyUrl) {
    const std::lock_guard<std::mutex> lock(mutex_);
    // One request is parked at a time, so the answer before has been given; its thread is about to end.
    answering_ = std::async(std::launch::async, [this, proxyUrl] { answer(proxyUrl); });
}

void ProxyPrompt::answer(const std::string& proxyUrl) {
    zeb::SecureString password = std::exchange(password_, zeb::SecureString());
    if (password.empty() && !user_.empty()) {
        password = askForPassword(user_ + " at the proxy " + proxyUrl);
    }
    const auto handler = zeb::http::ProxyAuthenticationHandler::getInstance();
    // Neither user nor password: no.
    handler->setProxyCredential(proxyUrl, password.empty() ? "" : user_, password);
}

void ProxyPrompt::finish() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (answering_.valid()) {
        answering_.get();
    }
}

void ProxyPrompt::onProxyInfoUpdated(bool /*useProxy*/, const std::string& /*authType*/) {}

}  // namespace zebget

#include "http/Proxy.h"

#include "core/ScopedLock.h"
#include "zeblogger/ZEBLogger.h"

namespace zeb::http {

Proxy::Proxy() = default;
Proxy::~Proxy() = default;

Proxy::Proxy(const Proxy& other)
    : authentication_(other.authentication()),
      url_(other.url_),
      proxyType_(other.proxyType_),
      bypassList_(other.bypassList_),
      serverSet_(other.serverSet_) {}

Proxy& Proxy::operator=(const Proxy& other) {
    if (this != &other) {
        const Authentication taken = other.authentication();
        setAuthentication(taken.username, taken.password, taken.type);
        url_ = other.url_;
        proxyType_ = other.proxyType_;
        bypassList_ = other.bypassList_;
        serverSet_ = other.serverSet_;
    }
    return *this;
}

Proxy::Authentication Proxy::authentication() const {
    const ScopedLock lock(mutex_);
    return authentication_;
}

void Proxy::setProxyServer(const std::string& url, ProxyType::Type type) {
    url_ = url;
    proxyType_ = type;
    serverSet_ = true;
}

void Proxy::setAuthentication(const std::string& username, const SecureString& password,
                              ProxyAuthentication::Type type) {
    const ScopedLock lock(mutex_);
    authentication_ = {username, password, type};
}

void Proxy::setBypassList(const std::string& list) {
    bypassList_ = list;
}

std::string Proxy::serialize() const {
    std::string text = "[proxy]\n";
    if (!url_.empty()) {
        text += "Server: " + ZEBLogger_replacePIIData(url_) + "\n";
    }
    const Authentication present = authentication();
    if (!present.username.empty()) {
        text += "Username: *****\n";
    }
    if (!present.password.empty()) {
        text += "Password: *****\n";
    }
    return text += "\t[bypass list]: " + bypassList_ + "\n";
}

}  // namespace zeb::http

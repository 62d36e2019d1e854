#include "http/Proxy.h"

#include "zeblogger/ZEBLogger.h"

namespace zeb::http {

void Proxy::setProxyServer(const std::string& url, ProxyType::Type type) {
    url_ = url;
    proxyType_ = type;
    serverSet_ = true;
}

void Proxy::setAuthentication(const std::string& username, const SecureString& password,
                              ProxyAuthentication::Type type) {
    username_ = username;
    password_ = password;
    proxyAuthenticationType_ = type;
}

void Proxy::setBypassList(const std::string& list) {
    bypassList_ = list;
}

std::string Proxy::serialize() const {
    std::string text = "[proxy]\n";
    if (!url_.empty()) {
        text += "Server: " + ZEBLogger_replacePIIData(url_) + "\n";
    }
    if (!username_.empty()) {
        text += "Username: *****\n";
    }
    if (!password_.empty()) {
        text += "Password: *****\n";
    }
    return text += "\t[bypass list]: " + bypassList_ + "\n";
}

}  // namespace zeb::http

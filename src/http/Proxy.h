#pragma once

#include "core/Export.h"
#include "core/SecureString.h"
#include "http/ProxyType.h"

#include <string>

namespace zeb::http {

/// One proxy: where it is, who asks, and which hosts don't need it. A plain value; a copy shares the secret.
class ZEBNETUTILS_EXPORT Proxy {
public:
    /// `url` may lack scheme and port.
    void setProxyServer(const std::string& url, ProxyType::Type type);
    void setAuthentication(const std::string& username, const SecureString& password,
                           ProxyAuthentication::Type type);
    /// Hosts that are reached without the proxy: names and patterns, separated by ";", "," or blanks.
    void setBypassList(const std::string& list);

    std::string getURL() const { return url_; }
    std::string getUsername() const { return username_; }
    SecureString getPassword() const { return password_; }
    ProxyType::Type getProxyType() const { return proxyType_; }
    ProxyAuthentication::Type getProxyAuthenticationType() const { return proxyAuthenticationType_; }
    std::string getBypassList() const { return bypassList_; }
    bool isServerSet() const { return serverSet_; }

    /// For people: several lines, the URL hidden, no credentials.
    std::string serialize() const;

private:
    std::string username_;
    SecureString password_;
    std::string url_;
    ProxyType::Type proxyType_ = ProxyType::HTTP;
    ProxyAuthentication::Type proxyAuthenticationType_ = ProxyAuthentication::ANY;
    std::string bypassList_;
    bool serverSet_ = false;
};

}  // namespace zeb::http

#pragma once

#include "core/Export.h"
#include "core/Mutex.h"
#include "core/SecureString.h"
#include "http/ProxyType.h"

#include <string>

namespace zeb::http {

/// One proxy: where it is, who asks, and which hosts don't need it. A plain value; a copy shares the secret.
///
/// Requests of several clients may share one. Each of them writes the credentials that the host has answered
/// with into it while others read, so those may be set and read on any thread. All else is set before.
class ZEBNETUTILS_EXPORT Proxy {
public:
    Proxy();
    Proxy(const Proxy& other);
    Proxy& operator=(const Proxy& other);
    ~Proxy();

    /// `url` may lack scheme and port.
    void setProxyServer(const std::string& url, ProxyType::Type type);
    void setAuthentication(const std::string& username, const SecureString& password,
                           ProxyAuthentication::Type type);
    /// Hosts that are reached without the proxy: names and patterns, separated by ";", "," or blanks.
    void setBypassList(const std::string& list);

    std::string getURL() const { return url_; }
    std::string getUsername() const { return authentication().username; }
    SecureString getPassword() const { return authentication().password; }
    ProxyType::Type getProxyType() const { return proxyType_; }
    ProxyAuthentication::Type getProxyAuthenticationType() const { return authentication().type; }
    std::string getBypassList() const { return bypassList_; }
    bool isServerSet() const { return serverSet_; }

    /// For people: several lines, the URL hidden, no credentials.
    std::string serialize() const;

private:
    struct Authentication {
        std::string username;
        SecureString password;
        ProxyAuthentication::Type type = ProxyAuthentication::ANY;
    };

    Authentication authentication() const;

    mutable Mutex mutex_;  ///< guards authentication_
    Authentication authentication_;
    std::string url_;
    ProxyType::Type proxyType_ = ProxyType::HTTP;
    std::string bypassList_;
    bool serverSet_ = false;
};

}  // namespace zeb::http

#include "http/Request.h"

#include "core/Log.h"
#include "core/SecureStringReader.h"
#include "http/HttpRequestOptions.h"
#include "http/Proxy.h"
#include "http/ProxyAuthenticationHandler.h"
#include "http/SystemProxyResolver.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <utility>

namespace zeb::http {

namespace {

bool isHeaderSerializedInClear(const std::string& name) {
    static constexpr std::array<const char*, 7> IN_CLEAR = {
        "ACCEPT", "CONNECTION", "CONTENT-LENGTH", "CONTENT-TYPE", "HOST", "PROXY-CONNECTION", "USER-AGENT"};
    const std::string upper = QRMCoreUtils::toUppercase(name);
    return std::any_of(IN_CLEAR.begin(), IN_CLEAR.end(),
                       [&upper](const char* known) { return upper == known; });
}

unsigned long sizeOf(const SecureString& text) {
    if (text.empty()) {
        return 0;  // a reader would still get the text from before it was emptied
    }
    SecureStringReader reader;
    text.getUnsecureString(reader);
    return reader.getBufSize();
}

ProxyAuthentication::Type proxyAuthenticationFromText(const std::string& text) {
    using QRMCoreUtils::caseInsensitiveStringEquals;
    if (caseInsensitiveStringEquals(text, "BASIC")) {
        return ProxyAuthentication::BASIC;
    }
    if (caseInsensitiveStringEquals(text, "DIGEST")) {
        return ProxyAuthentication::DIGEST;
    }
    if (caseInsensitiveStringEquals(text, "NTLM")) {
        return ProxyAuthentication::NTLM;
    }
    if (caseInsensitiveStringEquals(text, "NEGOTIATE")) {
        return ProxyAuthentication::NEGOTIATE;
    }
    return ProxyAuthentication::ANY;
}

/// Gives the proxy the credentials that the host has answered with, if they are for this one.
void setProxyCredential(const std::shared_ptr<Proxy>& proxy) {
    if (proxy == nullptr) {
        return;
    }
    std::string username;
    SecureString password;
    std::string authType;
    ProxyAuthenticationHandler::getInstance()->getProxyCredential(proxy->getURL(), username, password,
                                                                  authType);
    if (!username.empty() && !password.empty()) {
        proxy->setAuthentication(username, password, proxyAuthenticationFromText(authType));
    }
}

}  // namespace

Request::Request(const std::string& url) : Request(std::make_shared<HttpRequestOptions>(url)) {}

Request::Request(std::shared_ptr<HttpRequestOptions> options) : options_(std::move(options)) {}

Request::~Request() = default;

void Request::setOptions(std::shared_ptr<HttpRequestOptions> options) {
    options_ = std::move(options);
}

void Request::setListener(std::shared_ptr<HttpClientListener> listener) {
    listener_ = std::move(listener);
}

void Request::setProxy(std::shared_ptr<Proxy> proxy) {
    proxy_ = std::move(proxy);
}

void Request::setSystemProxyResolver(std::shared_ptr<SystemProxyResolver> resolver) {
    systemProxyResolver_ = std::move(resolver);
    systemProxyResolverGiven_ = true;
}

void Request::useSystemProxy(bool use) {
    useSystemProxy_ = use;
    if (use && systemProxyResolver_ == nullptr && !systemProxyResolverGiven_) {
        systemProxyResolver_ = std::make_shared<SystemProxyResolver>();
    }
}

std::shared_ptr<Proxy> Request::getProxy() const {
    if (proxy_ != nullptr) {
        ZEB_LOG_DEBUG(log::httpClient(), "Using the Proxy defined for this request");
        setProxyCredential(proxy_);
        return proxy_;
    }
    if (!useSystemProxy_ || systemProxyResolver_ == nullptr || options_ == nullptr) {
        return nullptr;
    }
    std::shared_ptr<Proxy> proxy = systemProxyResolver_->resolveSystemProxy(options_->url);
    if (proxy != nullptr && !proxy->getURL().empty()) {
        setProxyCredential(proxy);
        ZEB_LOG_DEBUG(log::httpClient(), "A System Proxy will be used for this request");
    }
    return proxy;
}

std::string Request::serialize() const {
    if (options_ == nullptr) {
        return {};
    }
    std::ostringstream text;
    text << "[url] " << options_->url << '\n'
         << "[method] " << static_cast<std::uint32_t>(options_->method) << '\n'
         << "[followRedirects] " << options_->followRedirects << '\n'
         << "[transferTimeout] " << options_->transferTimeout << '\n'
         << "[connectionTimeout] " << options_->connectionTimeout << '\n'
         << "[numRetries] " << options_->numRetries << '\n'
         << "[authType] " << static_cast<std::uint32_t>(options_->authType) << '\n'
         << options_->acceptableTlsVersionsAsString() << '\n'
         << "[useSystemProxy] " << useSystemProxy_ << '\n';
    for (const auto& part : options_->multiformParts) {
        if (part != nullptr) {
            text << "[multiform part] " << part->getName() << ":" << part->getType() << '\n';
        }
    }
    if (options_->headers != nullptr) {
        for (const HttpHeader& header : *options_->headers) {
            text << "[header] " << header.first << ": "
                 << (isHeaderSerializedInClear(header.first) ? header.second : "Redacted") << '\n';
        }
    }
    for (const common::Cookie& cookie : options_->cookies) {
        text << "[cookie] " << cookie.getName() << '\n';
    }
    if (proxy_ != nullptr) {
        text << proxy_->serialize();
    }
    text << "[size of body] " << sizeOf(options_->body) << '\n';
    return text.str();
}

}  // namespace zeb::http

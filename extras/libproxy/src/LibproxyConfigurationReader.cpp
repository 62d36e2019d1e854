#include "libproxyreader/LibproxyConfigurationReader.h"

#include "core/Log.h"
#include "core/SecureStringUtils.h"
#include "http/Proxy.h"

#include <cctype>
#include <mutex>
#include <optional>
#include <proxy.h>

namespace zeb::http {

namespace {

constexpr char DIRECT[] = "direct";

ZEBLogger* logger() {
    static ZEBLogger* const made = ZEBLogger_getLogger("zeb.httpclient");
    return made;
}

/// Guards libproxy: each call of it, in the whole process.
std::mutex& libproxyMutex() {
    static auto& mutex = *new std::mutex;
    return mutex;
}

/// libproxy, for the whole process and until its end: with its last factory libproxy unloads its plugins, and
/// a JavaScript engine that comes back after that hangs. Null without memory. Under libproxyMutex().
pxProxyFactory* factory() {
    static pxProxyFactory* const made = px_proxy_factory_new();
    return made;
}

std::string lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

std::optional<ProxyType::Type> typeOf(const std::string& scheme) {
    if (scheme == "http") {
        return ProxyType::HTTP;
    }
    if (scheme == "socks" || scheme == "socks5") {
        return ProxyType::SOCKS_5;
    }
    if (scheme == "socks5h") {
        return ProxyType::SOCKS_5_HOSTNAME;
    }
    if (scheme == "socks4") {
        return ProxyType::SOCKS_4;
    }
    if (scheme == "socks4a") {
        return ProxyType::SOCKS_4A;
    }
    return std::nullopt;
}

/// "%40" becomes "@"; what is no such triple stays.
std::string decodePercent(const std::string& text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool triple = text[i] == '%' && i + 2 < text.size() &&
                            std::isxdigit(static_cast<unsigned char>(text[i + 1])) != 0 &&
                            std::isxdigit(static_cast<unsigned char>(text[i + 2])) != 0;
        decoded += triple ? static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16)) : text[i];
        i += triple ? 2 : 0;
    }
    return decoded;
}

void setAuthentication(Proxy& proxy, const std::string& userInfo) {
    const std::size_t colon = userInfo.find(':');
    std::string password = colon == std::string::npos ? "" : decodePercent(userInfo.substr(colon + 1));
    proxy.setAuthentication(decodePercent(userInfo.substr(0, colon)), SecureString(password),
                            ProxyAuthentication::ANY);
    SecureStringUtils::ZEBZeroString(password);
}

bool hasPort(const std::string& authority) {
    const std::size_t colon = authority.rfind(':');
    return colon != std::string::npos && authority.find(']', colon) == std::string::npos;
}

/// `rest` is what follows the scheme: "user:password@host:port/".
std::shared_ptr<Proxy> makeProxy(ProxyType::Type type, const std::string& rest) {
    const std::string authority = rest.substr(0, rest.find('/'));
    const std::size_t at = authority.rfind('@');
    std::string server = at == std::string::npos ? authority : authority.substr(at + 1);
    if (server.empty() || server.front() == ':') {
        return nullptr;
    }
    auto proxy = std::make_shared<Proxy>();
    if (at != std::string::npos) {
        setAuthentication(*proxy, authority.substr(0, at));
    }
    if (type == ProxyType::HTTP) {
        server.insert(0, "http://");
    } else if (!hasPort(server)) {
        // Without it a client would take the port of an HTTP proxy. The scheme stays away: libcurl reads it
        // in a way of its own, "socks://" as SOCKS 4.
        server += ":1080";
    }
    proxy->setProxyServer(server, type);
    return proxy;
}

std::vector<std::string> takeEntries(const std::string& url) {
    std::vector<std::string> entries;
    char** const answer =
        factory() == nullptr ? nullptr : px_proxy_factory_get_proxies(factory(), url.c_str());
    if (answer != nullptr) {
        for (char** entry = answer; *entry != nullptr; ++entry) {
            entries.emplace_back(*entry);
        }
        px_proxy_factory_free_proxies(answer);
    }
    return entries;
}

}  // namespace

LibproxyConfigurationReader::LibproxyConfigurationReader() = default;
LibproxyConfigurationReader::~LibproxyConfigurationReader() = default;

std::shared_ptr<Proxy> LibproxyConfigurationReader::proxyFromEntries(
    const std::vector<std::string>& entries) {
    for (const std::string& entry : entries) {
        const std::size_t end = entry.find("://");
        const std::string scheme = lower(entry.substr(0, end));
        if (end == std::string::npos) {
            continue;
        }
        if (scheme == DIRECT) {
            return nullptr;
        }
        const std::optional<ProxyType::Type> type = typeOf(scheme);
        std::shared_ptr<Proxy> proxy =
            type ? makeProxy(*type, entry.substr(end + sizeof("://") - 1)) : nullptr;
        if (proxy != nullptr) {
            return proxy;
        }
        ZEB_LOG_WARNING(logger(), "A system proxy of scheme '" << scheme << "' can't be used");
    }
    return nullptr;
}

std::shared_ptr<Proxy> LibproxyConfigurationReader::getHttpProxyForUrl(const std::string& url) const {
    if (url.empty()) {
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(libproxyMutex());
    return proxyFromEntries(takeEntries(url));
}

}  // namespace zeb::http

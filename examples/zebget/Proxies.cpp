#include "Proxies.h"

#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"
#ifdef ZEBGET_HAS_LIBPROXY
#include "libproxyreader/LibproxyConfigurationReader.h"
#endif

#include <map>

namespace zebget {

using zeb::http::Proxy;
using zeb::http::ProxyType;
using zeb::http::SystemProxyResolver;

std::shared_ptr<Proxy> makeProxy(const std::string& text) {
    static const std::map<std::string, ProxyType::Type> types = {
        {"http", ProxyType::HTTP},
        {"socks4", ProxyType::SOCKS_4},
        {"socks4a", ProxyType::SOCKS_4A},
        {"socks5", ProxyType::SOCKS_5},
        {"socks5h", ProxyType::SOCKS_5_HOSTNAME},
    };
    const std::size_t mark = text.find("://");
    const auto type = types.find(mark == std::string::npos ? "http" : text.substr(0, mark));
    const std::string server = mark == std::string::npos ? text : text.substr(mark + 3);
    if (type == types.end() || server.empty()) {
        return nullptr;
    }
    auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(server, type->second);
    return proxy;
}

std::shared_ptr<SystemProxyResolver> makeSystemProxyResolver() {
#ifdef ZEBGET_HAS_LIBPROXY
    auto resolver = std::make_shared<SystemProxyResolver>();
    resolver->setHttpProxyConfigurationReader(std::make_shared<zeb::http::LibproxyConfigurationReader>());
    return resolver;
#else
    return nullptr;
#endif
}

}  // namespace zebget

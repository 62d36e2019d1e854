#pragma once

#include <memory>
#include <string>

namespace zeb::http {
class Proxy;
class SystemProxyResolver;
}  // namespace zeb::http

namespace zebget {

/// "[SCHEME://]HOST:PORT" with http, socks4, socks4a, socks5 or socks5h (the proxy resolves the names). Null
/// for any other text.
std::shared_ptr<zeb::http::Proxy> makeProxy(const std::string& text);

/// A resolver that reads the system's settings. Null where zebget was built without libproxy.
std::shared_ptr<zeb::http::SystemProxyResolver> makeSystemProxyResolver();

}  // namespace zebget

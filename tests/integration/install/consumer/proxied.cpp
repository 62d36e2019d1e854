// A host that takes the system's proxy from libproxy.
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"
#include "libproxyreader/LibproxyConfigurationReader.h"

#include <cstdlib>
#include <iostream>
#include <memory>

int main() {
    setenv("http_proxy", "http://proxy.invalid:3128", 1);
    unsetenv("no_proxy");
    zeb::http::SystemProxyResolver resolver;
    resolver.setHttpProxyConfigurationReader(std::make_shared<zeb::http::LibproxyConfigurationReader>());
    const auto proxy = resolver.resolveSystemProxy("http://host.invalid/");
    std::cout << (proxy == nullptr ? "none" : proxy->getURL()) << "\n";
    return proxy != nullptr && proxy->getURL() == "http://proxy.invalid:3128" ? 0 : 1;
}

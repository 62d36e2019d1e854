#pragma once

#include "common/PolicyDriven.h"
#include "core/Export.h"
#include "core/Mutex.h"

#include <memory>
#include <string>

namespace zeb::http {

class HttpProxyConfigurationReader;
class Proxy;

/// Answers which proxy the system wants for a URL, as the policy of nature SYSTEM_PROXY_USAGE allows. It
/// takes the process's default policies when it is made, and remembers the answer for the last URL.
class ZEBNETUTILS_EXPORT SystemProxyResolver : public common::PolicyDriven {
public:
    SystemProxyResolver();
    ~SystemProxyResolver() override;

    /// Null when there is no proxy, or the policy forbids it. The reader is asked again only for another URL.
    virtual std::shared_ptr<Proxy> resolveSystemProxy(const std::string& url);

    /// A null reader brings back the one that knows of no proxy.
    void setHttpProxyConfigurationReader(std::shared_ptr<HttpProxyConfigurationReader> reader);

private:
    std::shared_ptr<Proxy> cachedProxyFor(const std::string& url);

    std::shared_ptr<HttpProxyConfigurationReader> reader_;
    bool resolved_ = false;
    Mutex mutex_;  ///< guards all fields
    std::shared_ptr<Proxy> cachedProxy_;
    std::string cachedUrl_;
};

}  // namespace zeb::http

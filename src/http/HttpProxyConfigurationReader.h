#pragma once

#include "core/Export.h"

#include <memory>
#include <string>

namespace zeb::http {

class Proxy;

/// Finds the system's proxy for a URL. This base knows of none; a host derives from it and installs its
/// reader in a SystemProxyResolver.
class ZEBNETUTILS_EXPORT HttpProxyConfigurationReader {
public:
    virtual ~HttpProxyConfigurationReader();

    /// Null when the URL needs no proxy. Called on the thread that runs the request, under the resolver's
    /// mutex.
    virtual std::shared_ptr<Proxy> getHttpProxyForUrl(const std::string& url) const;
};

}  // namespace zeb::http

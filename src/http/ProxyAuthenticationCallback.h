#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::http {

/// Implemented by the host: hears that a proxy asks for credentials, and what proxy is in use. Called on
/// transfer threads, one callback after the other, while other callbacks wait: it must not block, and must
/// not register a callback. An answer through ProxyAuthenticationHandler may come from inside it.
class ZEBNETUTILS_EXPORT ProxyAuthenticationCallback {
public:
    virtual ~ProxyAuthenticationCallback();
    virtual void onProxyAuthenticationRequired(const std::string& proxyUrl) = 0;
    /// `authType` in upper case; "NONE" without a proxy, "NOAUTH" for one that asks for nothing.
    virtual void onProxyInfoUpdated(bool useProxy, const std::string& authType) = 0;
};

}  // namespace zeb::http

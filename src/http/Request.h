#pragma once

#include "core/Export.h"

#include <atomic>
#include <memory>
#include <string>

namespace zeb::http {

class HttpClientListener;
class Proxy;
class SystemProxyResolver;
struct HttpRequestOptions;

/// A request as the host makes it: options, listener, proxy. It may be used for several runs, one after the
/// other. The host sets everything before it hands the request to a client; only cancel() may come from any
/// thread at any time.
class ZEBNETUTILS_EXPORT Request {
public:
    /// With options of its own for that URL.
    explicit Request(const std::string& url);
    /// With options that may be shared; null is answered with URL_NOT_SET_ERROR when the request runs.
    explicit Request(std::shared_ptr<HttpRequestOptions> options);
    virtual ~Request();

    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

    const std::shared_ptr<HttpRequestOptions>& getOptions() const { return options_; }
    void setOptions(std::shared_ptr<HttpRequestOptions> options);

    /// Needed by asynchronous runs; makes a synchronous one report its progress.
    const std::shared_ptr<HttpClientListener>& getListener() const { return listener_; }
    void setListener(std::shared_ptr<HttpClientListener> listener);

    /// A proxy for this request alone; it goes before the system's.
    void setProxy(std::shared_ptr<Proxy> proxy);
    /// Without one, useSystemProxy makes one that knows of no proxy. A null resolver counts as no system
    /// proxy.
    void setSystemProxyResolver(std::shared_ptr<SystemProxyResolver> resolver);

    /// Ask the resolver for a proxy when none is set. Initially false.
    void useSystemProxy(bool use);
    bool getIsUseSystemProxy() const { return useSystemProxy_; }

    /// True (the initial value): when a proxy asks for credentials the request is answered only after the
    /// host has answered. False: it is answered at once, and run again when credentials come.
    void waitUntilProxyCredentialReady(bool wait) { waitUntilProxyCredentialReady_ = wait; }
    bool shouldWaitUntilProxyCredentialReady() const { return waitUntilProxyCredentialReady_; }

    /// Asks the transfer to end with REQUEST_CANCELLED; it does at its next callback. There is no way back: a
    /// cancelled request stays cancelled.
    void cancel() { cancelled_ = true; }
    bool isCancelled() const { return cancelled_; }

    /// The proxy that the request goes through, with the credentials that the host has given for it: the one
    /// that was set, else the system's when useSystemProxy is on, else null.
    std::shared_ptr<Proxy> getProxy() const;

    /// The request in lines, for people: names of headers and cookies, values of harmless headers only. Empty
    /// without options.
    std::string serialize() const;

private:
    std::shared_ptr<HttpRequestOptions> options_;
    std::shared_ptr<HttpClientListener> listener_;
    std::shared_ptr<Proxy> proxy_;
    bool useSystemProxy_ = false;
    bool waitUntilProxyCredentialReady_ = true;
    std::shared_ptr<SystemProxyResolver>
        systemProxyResolver_;  ///< made when first wanted: most requests don't
    bool systemProxyResolverGiven_ = false;
    std::atomic<bool> cancelled_{false};
};

}  // namespace zeb::http

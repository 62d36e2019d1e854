#pragma once

#include "common/PolicyDriven.h"
#include "core/Export.h"
#include "http/HttpClientError.h"

#include <memory>
#include <set>
#include <string>

namespace zeb::http {

class Request;

/// Runs many requests at once over one curl multi handle. What it does with a request is governed by its
/// policies (addPolicy): by default no edge, IPv4 and IPv6, the usual ciphers.
///
/// One thread of the client's own drives all transfers; a small pool does for each request what can block
/// before its transfer: the edge and the question to DNS whether the host exists. Every accepted request is
/// answered through its listener once: completions, and failures of transfers, on the driving thread;
/// failures from before the transfer on a pool thread (REQUEST_LOST on either). No lock is held then, so a
/// listener may enqueue; but one that blocks stops all transfers of the client. Not answered are a cancelled
/// request, one without a listener, and one that couldn't be configured (see enqueueRequest).
///
/// The driving thread waits for the network up to 20 seconds at a time. While all transfers under way are
/// silent, a new request can wait so long until it joins them, and a cancelled one until it ends. The end of
/// a transfer is told at once.
///
/// The end of the client cancels all transfers; a request that has not become one by then is answered with
/// REQUEST_LOST, which may come after the client's end. Any thread may call, a listener too; no operation
/// throws.
class ZEBNETUTILS_EXPORT MultiHttpClient : public common::PolicyDriven {
public:
    using PolicyDriven::PolicyDriven;
    ~MultiHttpClient() override;

    /// Whether many requests may share a connection at a time; on at first. That means HTTP/1.1 pipelining,
    /// which libcurl since 7.62 accepts and ignores, and HTTP/2: a request joins a connection that is open if
    /// the server was judged for it in the same way. Otherwise a connection serves one after the other.
    virtual void enableHttpPipelining() = 0;
    virtual void disableHttpPipelining() = 0;

    /// Accepts the request and answers at once whether it did; `requestId` is set before the request can be
    /// answered. UNABLE_TO_PROCESS_REQUEST_ERROR when the driving thread could not be started,
    /// REQUEST_NOT_SET_ERROR for a null request, URL_NOT_SET_ERROR for an empty URL, the policy errors when
    /// one is missing or can't be enforced. A request whose file can't be opened or whose form can't be built
    /// is accepted and dropped: its listener hears nothing.
    virtual HttpClientError::Error enqueueRequest(std::shared_ptr<Request> request,
                                                  unsigned int& requestId) = 0;
    /// The same with the body written to the file, which is created or truncated. The body of any status but
    /// 200 goes to the response instead. The request's method stands.
    virtual HttpClientError::Error enqueueDownloadRequest(std::shared_ptr<Request> request,
                                                          unsigned int& requestId,
                                                          const std::string& filePath) = 0;

    /// Cancels every request that is being transferred; their listeners hear no more. Requests that have not
    /// got so far go on. Always SUCCESS.
    virtual HttpClientError::Error cancelAllRequests() = 0;
    /// Forgets which hosts could not be resolved lately: DNS is asked again for each.
    virtual void clearUnresolvedHostCache() = 0;
};

}  // namespace zeb::http

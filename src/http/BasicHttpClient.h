#pragma once

#include "common/PolicyDriven.h"
#include "core/Export.h"
#include "http/HttpClientError.h"
#include "http/HttpClientResult.h"

#include <memory>
#include <set>
#include <string>

namespace zeb::http {

class Request;
struct Response;

/// Runs requests one after the other, synchronously or as tasks on a pool. What it does with a request is
/// governed by its policies (addPolicy): by default no edge, IPv4 and IPv6, the usual ciphers.
///
/// Any thread may call; transfers of one client never overlap. No operation throws.
class ZEBNETUTILS_EXPORT BasicHttpClient : public common::PolicyDriven {
public:
    using PolicyDriven::PolicyDriven;
    ~BasicHttpClient() override;

    /// Blocks until the transfer has ended, and waits before for those ahead of it. The response is
    /// overwritten as a whole, whatever the result, unless the edge policy ended the request: then it is left
    /// alone, but for the code (and body) of an answer made in the server's stead (401, 403, 407).
    virtual HttpClientResult::Result execute(std::shared_ptr<Request> request, Response& response) = 0;

    /// Queues the request and answers at once whether it was accepted; the outcome goes to the request's
    /// listener, also when the client is destroyed before (REQUEST_LOST). `requestId` is set before the
    /// request can run.
    virtual HttpClientError::Error executeAsync(std::shared_ptr<Request> request,
                                                unsigned int& requestId) = 0;
    /// A GET whose body goes to the file, which is created or truncated. The body of any status but 200 goes
    /// to the response instead.
    virtual HttpClientError::Error downloadAsync(std::shared_ptr<Request> request, unsigned int& requestId,
                                                 const std::string& filePath) = 0;
    /// A PUT, or a POST if the request's method says so, with the file as its body.
    virtual HttpClientError::Error uploadAsync(std::shared_ptr<Request> request, unsigned int& requestId,
                                               const std::string& filePath) = 0;
};

}  // namespace zeb::http

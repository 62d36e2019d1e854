#pragma once

#include "core/Export.h"

#include <memory>
#include <ostream>
#include <string>

namespace zeb::http {

class HttpRequestData;
struct RequestWrapper;
struct Response;

/// Through which the HTTP clients have a request rewritten so that it travels through an edge server. The
/// edge layer stands behind it; the clients know no more of it than this. Called on the thread that runs the
/// request; may block while the edge configuration is fetched.
class ZEBNETUTILS_EXPORT EdgeTransformer {
public:
    struct TransformRequestResult {
        enum Result {
            SUCCESS = 0,
            INVALID_PARAMETERS = 1,
            MALFORMED_REQUEST = 2,
            EDGE_ENVIRONMENT_UNAVAILABLE = 3,
            EDGE_AUTHENTICATION_FAILED = 4,   ///< bad user or password: answered as a 401
            EDGE_TOKEN_EXPIRED = 5,           ///< answered as a 401
            EDGE_PROXY_TOKEN_EXPIRED = 6,     ///< answered as a 407
            EDGE_SSL_CONNECTION_ERROR = 7,    ///< ends as SSL_CONNECTION_ERROR
            EDGE_DISABLED_BY_OVT_POLICY = 8,  ///< answered as a 403
            UNKNOWN = 9,                      ///< before any transformation
        };
    };

    virtual ~EdgeTransformer();

    virtual TransformRequestResult::Result transformRequest(std::shared_ptr<HttpRequestData> requestData) = 0;
    /// Keeps the request's own OAuth token.
    virtual TransformRequestResult::Result transformRequestUsingRequestOAuthToken(
        std::shared_ptr<HttpRequestData> requestData) = 0;
    /// Authenticates by the edge header.
    virtual TransformRequestResult::Result transformRequestUsingXEdgeAuth(
        std::shared_ptr<HttpRequestData> requestData) = 0;
    virtual TransformRequestResult::Result transformRequestUsingEdgeTokenAndLumenCookie(
        std::shared_ptr<HttpRequestData> requestData) = 0;
    /// Undoes the rewriting of cookies in a response to `url`.
    virtual TransformRequestResult::Result removeTransformedCookies(Response& response,
                                                                    const std::string& url) = 0;
    /// True once the request has gone through a transformation.
    virtual bool isRequestTransformed(const RequestWrapper& wrapper) const = 0;
};

/// Prints the enumerator's name; the values 5, 6 and 8 have no text and print as "Unexpected value (N)", as
/// any other number does.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            EdgeTransformer::TransformRequestResult::Result result);

}  // namespace zeb::http

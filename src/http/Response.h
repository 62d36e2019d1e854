#pragma once

#include "common/Cookie.h"
#include "core/Export.h"
#include "http/HttpHeaders.h"
#include "ip/IpAddress.h"

#include <memory>
#include <string>
#include <vector>

namespace zeb::http {

/// What came back. A plain structure; a copy shares `redirectUrls` and `headers` with the original.
struct ZEBNETUTILS_EXPORT Response {
    Response();
    Response(const Response&) = default;
    Response& operator=(const Response&) = default;
    virtual ~Response();

    int responseCode = 0;  ///< the final HTTP status; 0 until known
    int connectCode = 0;   ///< the status of the proxy's answer to CONNECT
    /// Every Location value seen, in order; never null.
    std::shared_ptr<std::vector<std::string>> redirectUrls;
    /// The headers of the last response of a chain; never null.
    std::shared_ptr<HttpHeaders> headers;
    /// What the cookie engine held after the transfer.
    std::vector<common::Cookie> cookies;
    /// The body, unless it went to a file; also the error page of a failed download.
    std::string body;
    /// The URL that was really asked; filled only when the request was transformed for the edge.
    std::string transformedUrl;
    ip::IpAddress localIpAddress;
    ip::IpAddress destinationIpAddress;
    bool proxyUsed = false;  ///< the transfer was given a proxy
    /// The scheme that the proxy used or offers; see Request for proxies.
    std::string proxyAuthType;

    /// The value of the first header of that name, whatever its case (RFC 9110, 5.1); empty without one.
    std::string getHeader(const std::string& name) const;
};

}  // namespace zeb::http

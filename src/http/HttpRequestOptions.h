#pragma once

#include "common/Cookie.h"
#include "core/Export.h"
#include "core/SafeBuffer.h"
#include "core/SecureString.h"
#include "http/Credentials.h"
#include "http/HttpHeaders.h"
#include "http/IdentityMatchModel.h"
#include "http/MultiformPart.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zeb::http {

/// The method of a request. A number over 4 is sent as GET.
enum class HttpMethod : std::uint32_t {
    GET = 0,
    POST = 1,
    PUT = 2,
    DELETE = 3,
    OPTIONS = 4,
};

/// How the request proves who asks.
enum class AuthType : std::uint32_t {
    NONE = 0,
    BASIC = 1,     ///< RFC 7617, with the credentials' user and password
    RESERVED = 2,  ///< accepted, configures nothing
    OAUTH = 3,     ///< RFC 6750, with the credentials' token
    NTLM = 4,      ///< with the credentials' user and password
};

/// The bits of HttpRequestOptions::acceptableTlsVersions.
struct TlsVersion {
    static constexpr long TLS_1_0 = 1;
    static constexpr long TLS_1_1 = 2;
    static constexpr long TLS_1_2 = 4;
};

/// The bits of HttpRequestOptions::loggingOptions.
struct LoggingOption {
    static constexpr long NO_FILE_PATH = 1;  ///< a file's path is logged as "[...]"
    static constexpr long NO_URL = 2;        ///< the URL is not logged at all
    static constexpr long NO_URL_PATH = 4;   ///< path and query are logged as "/[...]"
};

/// What a request asks for. A plain structure that the host fills in before it hands the request to a client,
/// and leaves alone until the answer has come: the client rewrites some fields on the way, as told below.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding): what belongs together stands together
struct ZEBNETUTILS_EXPORT HttpRequestOptions {
    explicit HttpRequestOptions(const std::string& url);

    /// Where to. Rewritten in place by the edge transformation, by percent-encoding and by a failover. A URL
    /// with a CR, LF or NUL in it is not repaired, as nobody could tell what it was meant to reach: an error
    /// is logged, nothing is sent, and the request ends with URL_FORMAT_ERROR.
    std::string url;
    /// Where to go on, in this order, when a server can't be reached or fails the transfer; each is asked
    /// once. Another status than 200 is an answer, not a failure. The edge transformation puts its own list
    /// in place.
    std::vector<std::string> failoverUrls;
    /// The text that POST and PUT send.
    SecureString body;
    /// The bytes that POST and PUT send when `body` is empty.
    SafeBuffer binaryBody;
    /// Carried and printed; nothing retries by it.
    int numRetries = 0;
    bool followRedirects = true;
    /// Milliseconds for the transfer as a whole; 0 means no limit.
    long transferTimeout = 0;
    /// Seconds that an upload or download may stand still; 0 means 60.
    long lowSpeedTimeout = 0;
    /// Milliseconds for the connection to come about; 0 means 60000.
    long connectionTimeout = 0;
    HttpMethod method = HttpMethod::GET;
    /// Request headers in order; never null unless the host makes it so. One with an empty name, or with a
    /// CR, LF or NUL in it, is left out, with an error in the log, and the request runs without it.
    std::shared_ptr<HttpHeaders> headers;
    /// One with a CR, LF or NUL in it is left out likewise.
    std::vector<common::Cookie> cookies;
    /// Send the cookies in the Cookie header as they are, whatever host they belong to, rather than through
    /// the cookie engine. libcurl repeats that header wherever a redirect leads, to other hosts, too: combine
    /// it with followRedirects false where that matters.
    bool cookieMandatory = false;
    /// May be null.
    std::shared_ptr<Credentials> credentials;
    /// True when `identities` are to be found in the server's certificate.
    bool useProvidedIdentity = false;
    std::vector<std::string> identities;
    /// The name shown to the user when the certificate is in question; empty means the host's name.
    std::string identifierToDisplay;
    AuthType authType = AuthType::NONE;
    std::vector<std::shared_ptr<MultiformPart>> multiformParts;
    IdentityMatchModel::Model certIdentityValidationModel = IdentityMatchModel::SOFT_MATCH;
    /// Bits of TlsVersion. TLS 1.3 is always acceptable.
    long acceptableTlsVersions = TlsVersion::TLS_1_0 | TlsVersion::TLS_1_1 | TlsVersion::TLS_1_2;
    /// Bits of LoggingOption.
    long loggingOptions = 0;
    /// The connection is closed after the transfer.
    bool forbidReuse = false;
    /// The request has been transformed for the edge. Set by the transformation.
    bool edgeRequest = false;

    /// "GET", "POST", "PUT", "DELETE", "OPTIONS", else "unknown".
    std::string methodName() const;

    void setCookieMandatory(bool mandatory) { cookieMandatory = mandatory; }
    bool isCookieMandatory() const { return cookieMandatory; }
    void setEdgeRequest(bool transformed) { edgeRequest = transformed; }
    bool isEdgeRequest() const { return edgeRequest; }

    /// "[acceptable cryptographic protocols] " and the names of the bits.
    std::string acceptableTlsVersionsAsString() const;
    /// "[Logging Options] " and the names of the bits; NO_URL_PATH prints nothing.
    std::string loggingOptionAsString() const;
    bool isLoggingOptionSet(long option) const { return (option & loggingOptions) != 0; }
};

}  // namespace zeb::http

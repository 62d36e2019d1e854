#pragma once

#include "http/HttpHeaders.h"
#include "http/TransferTrace.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace zeb::http {

class HttpRequestData;
class Request;
struct RequestWrapper;

/// What stands between a request and libcurl: turns an HttpRequestData into a configured easy handle, serves
/// libcurl's callbacks, and reads the outcome back. All operations run on the thread that holds the handle,
/// the callbacks inside libcurl's perform. Strings that libcurl is given by pointer live in the request data.
///
/// The handle (`CURL*`) and libcurl's codes go as void* and int, so that libcurl's headers stay out of here.
class CurlHttpUtils {
public:
    /// The whole configuration, from a reset handle on. False when the request owns no handle, a file can't
    /// be opened, or the form can't be built; every other failure shows when the transfer runs.
    static bool configureEasyRequest(const std::shared_ptr<HttpRequestData>& data);
    /// Picks one of the three forms below: only a request that goes through the edge may need another than
    /// the first. A URL with a CR, LF or NUL in it is given in none of them: the transfer then fails for its
    /// URL.
    static bool setUrl(const std::shared_ptr<HttpRequestData>& data);
    /// The URL as it is.
    static bool setUrlWithoutSNI(const std::shared_ptr<HttpRequestData>& data);
    /// `serverName` stands in the URL in place of the host, which is still the one to connect to: so TLS asks
    /// for one name at another's address (RFC 6066). After setIdentifiers.
    static bool setUrlWithSNI(const std::shared_ptr<HttpRequestData>& data, const std::string& serverName);
    /// The URL as it is, and connections for its host go to the address `ip`, without a DNS look-up.
    static bool setUrlWithIP(const std::shared_ptr<HttpRequestData>& data, const std::string& ip);
    /// Keeps both names of the SNI form for the verification of the certificate.
    static bool setIdentifiers(const std::shared_ptr<HttpRequestData>& data, const std::string& serverName);
    static bool setHeadersFromHttpRequestData(const std::shared_ptr<HttpRequestData>& data);
    static bool setHeaders(const std::shared_ptr<HttpRequestData>& data,
                           const std::shared_ptr<HttpHeaders>& headers);
    static bool addOauthToken(const std::shared_ptr<HttpRequestData>& data);
    /// Cookies with a CR, LF or NUL in them are left out, here and in setCookieMandatory.
    static bool setCookies(const std::shared_ptr<HttpRequestData>& data);
    static bool setCookieMandatory(const std::shared_ptr<HttpRequestData>& data);
    /// Builds libcurl's form list. The list is deliberately never released: libcurl may read it as long as
    /// the handle keeps it, and its parts point into the request.
    static bool configureMultiformRequest(const std::shared_ptr<HttpRequestData>& data);
    /// Overwrites the password that libcurl holds; right after each perform.
    static bool resetCurlPassword(const std::shared_ptr<HttpRequestData>& data);

    // libcurl's callbacks. None lets an exception pass into libcurl; a cancelled request ends at the next.
    /// Counts of bytes; anything but size * nmemb aborts the transfer. Wipes libcurl's buffer.
    static std::size_t curlWriteCallback(char* data, std::size_t size, std::size_t nmemb, void* requestData);
    static std::size_t curlReadFileData(char* out, std::size_t size, std::size_t nmemb, void* wrapper);
    static std::size_t curlHeaderCallback(char* data, std::size_t size, std::size_t nmemb, void* requestData);
    /// 0 goes on, 1 aborts.
    static int curlProgressFunction(void* requestData, double dlTotal, double dlNow, double ulTotal,
                                    double ulNow);
    /// Hears libcurl's trace: logs how the connection comes about, with what identifies somebody hidden, and
    /// notes the proxy's authentication scheme. Always 0. `type` is a `curl_infotype`; the text needs no end.
    static int curlTraceCallback(void* curl, int type, char* text, std::size_t size, void* requestData);
    /// For each new TLS context: hooks certificate verification into the handshake. A `CURLcode`.
    static int curlSSLCallback(void* curl, void* sslCtx, void* requestData);

    // The trace; see TransferTrace.h.
    /// What one message of the trace is about.
    struct RequestPhase {
        enum Phase {
            ABOUT_TO = 0,
            PRE_CONNECT = 1,
            POST_CONNECT = 2,
            SSL_DATA_OUT = 3,
            SSL_DATA_IN = 4,
            SSL_HANDSHAKE = 5,
            POST_SSL_HANDSHAKE = 6,
            SERVER_AUTH = 7,
            PROXY_AUTH = 8,
            HEADERS_OUT = 9,
            HEADERS_IN = 10,
            DATA_IN = 11,
            DATA_OUT = 12,
            CONNECTION = 13,  ///< a connection is used again, or ends
            NO_MATCH = 14,
        };
    };
    /// Ordered by the text that marks the phase.
    using PhaseMap = std::set<std::pair<std::string, RequestPhase::Phase>>;

    static RequestPhase::Phase matchPhase(const std::pair<CurlInfoType, std::string_view>& message);
    /// The phase whose marker comes first in the map, of those that are anywhere in the text.
    static RequestPhase::Phase matchPhaseFromInfoData(std::string_view text);
    /// The text that marks the phase, or "Unknown phase".
    static std::string getPhaseKey(RequestPhase::Phase phase);
    /// The phases that a text marks.
    static const PhaseMap& getPhaseMap();
    // Kept for diagnostics: no transfer depends on them. Each is empty when the text isn't of that kind.
    /// "127.0.0.1" of "  Trying 127.0.0.1...".
    static std::string getResolvedIp(const std::string& text);
    /// The address, without blanks around it and without what follows the first "..."; empty for a text that
    /// is none.
    static std::string normalizeIp(const std::string& text);
    /// "TLSv1.3 (OUT)" of "TLSv1.3 (OUT), TLS handshake, Client hello (1):".
    static std::string getSslVersion(const std::string& text);
    /// "TLSv1.3 / TLS_AES_256_GCM_SHA384" of "SSL connection using TLSv1.3 / TLS_AES_256_GCM_SHA384".
    static std::string getCipherSuite(const std::string& text);

    // The outcome.
    static bool getResponseCode(HttpRequestData* data);
    static bool getIpAddress(const std::shared_ptr<HttpRequestData>& data);
    static bool storeCookies(const std::shared_ptr<HttpRequestData>& data);
    static void logOperationTiming(const std::shared_ptr<HttpRequestData>& data);

    /// The URL as the request's logging options allow it: whole, without its path, or empty.
    static std::string loggableUrl(const std::shared_ptr<Request>& request);
    static std::string loggableFilePath(const RequestWrapper& wrapper);
    /// Exactly 200.
    static bool isResponseSuccessful(int code);
    static bool isFileProtocol(const std::string& url);
    /// Opens the file that the request works on, and closes it again: a download's is created or truncated,
    /// what a former attempt left open is closed. False when it can't be opened; true without a file.
    static bool prepareFile(RequestWrapper& wrapper);
    /// Closes a download's file once all has come. False, with the file removed, when what was buffered can't
    /// be written any more: a full disk may show only now.
    static bool closeDownloadedFile(RequestWrapper& wrapper);
    /// Closes and clears; a null file is left alone.
    static void closeFile(std::FILE** file);

    /// True, with an error in the log, for a code that isn't 0.
    static bool isSetOptError(int code, std::string_view optionName, std::string_view errorText);
};

}  // namespace zeb::http

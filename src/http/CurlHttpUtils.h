#pragma once

#include "http/HttpHeaders.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>

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

    // libcurl's callbacks.
    /// Counts of bytes; anything but size * nmemb aborts the transfer. Wipes libcurl's buffer.
    static std::size_t curlWriteCallback(char* data, std::size_t size, std::size_t nmemb, void* requestData);
    static std::size_t curlReadFileData(char* out, std::size_t size, std::size_t nmemb, void* wrapper);
    static std::size_t curlHeaderCallback(char* data, std::size_t size, std::size_t nmemb, void* requestData);
    /// 0 goes on, 1 aborts.
    static int curlProgressFunction(void* requestData, double dlTotal, double dlNow, double ulTotal,
                                    double ulNow);
    /// For each new TLS context: hooks certificate verification into the handshake. A `CURLcode`.
    static int curlSSLCallback(void* curl, void* sslCtx, void* requestData);

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
    /// Closes and clears; a null file is left alone.
    static void closeFile(std::FILE** file);

    /// True, with an error in the log, for a code that isn't 0.
    static bool isSetOptError(int code, const std::string& optionName, const std::string& errorText);
};

}  // namespace zeb::http

// The form interface serves libcurl from before the mime interface, too; its deprecation is known.
#define CURL_DISABLE_DEPRECATION

#include "http/CurlHttpUtils.h"

#include "core/Log.h"
#include "core/SecureStringReader.h"
#include "core/SecureStringUtils.h"
#include "http/ConnectTo.h"
#include "http/CurlHeaders.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/HttpUtils.h"
#include "http/LineText.h"
#include "http/MultiformPart.h"
#include "http/OpenSSLOptions.h"
#include "http/Proxy.h"
#include "http/ProxyBypassReader.h"
#include "http/Request.h"
#include "http/SslUtils.h"
#include "http/VerificationLabel.h"
#include "ip/IpUtils.h"
#include "netutils/SNIUtil.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <sstream>
#include <utility>

#include <curl/curl.h>
#include <openssl/ssl.h>

namespace zeb::http {

namespace {

using RequestDataPtr = std::shared_ptr<HttpRequestData>;

constexpr long DEFAULT_CONNECTION_TIMEOUT_MS = 60000;
constexpr long DEFAULT_LOW_SPEED_TIMEOUT_S = 60;
constexpr long MAX_REDIRECTS = 5;
constexpr double PROGRESS_STEP_BYTES = 102400.0;
constexpr std::size_t USUAL_HEADERS = 16;
constexpr std::size_t MAX_HEADER_BYTES = std::size_t{1} << 20;
constexpr int PROXY_AUTHENTICATION_REQUIRED = 407;
constexpr char UNUSABLE_PROXY[] = "http://";
constexpr char SIGNATURE_ALGORITHMS[] =
    "RSA-PSS+SHA256:RSA-PSS+SHA384:RSA-PSS+SHA512:RSA+SHA256:RSA+SHA384:RSA+SHA512:ECDSA+SHA256:ECDSA+SHA384:"
    "ECDSA+SHA512";

CURL* handleOf(const HttpRequestData& data) {
    return data.getEasyHandle();
}

HttpRequestOptions& optionsOf(const HttpRequestData& data) {
    return *data.getRequest()->getOptions();
}

std::string hiddenUrl(const HttpRequestData& data) {
    return ZEBLogger_replacePIIData(CurlHttpUtils::loggableUrl(data.getRequest()));
}

/// An append that reserves first: growing would leave copies of a secret behind.
void appendSecret(std::string& out, const SecureString& secret) {
    SecureStringReader reader;
    secret.getUnsecureString(reader);
    out.reserve(out.size() + reader.getBufSize());
    out.append(reader.c_str(), reader.getBufSize());
}

// --- texts of the host's that must not reach the wire ----------------------------------------------------

/// Says that a text is left out, and which. The text itself may be a secret.
void tellLeftOut(const HttpRequestData& data, const char* which) {
    ZEB_LOG_ERROR(log::httpClient(), "Request " << data.formattedRequestID() << " " << which
                                                << " is left out: it has a line break or NUL in it");
}

/// A line break in a cookie would end its line on the wire, or its entry in libcurl's list. Such a line is
/// wiped here.
bool isCookieLeftOut(const HttpRequestData& data, std::string& raw) {
    if (!breaksLine(raw)) {
        return false;
    }
    SecureStringUtils::ZEBZeroString(raw);
    tellLeftOut(data, "a cookie");
    return true;
}

bool hasNul(std::string_view text) {
    return text.find('\0') != std::string_view::npos;
}

// --- files -----------------------------------------------------------------------------------------------

bool isFileOperation(const RequestWrapper& wrapper) {
    return !wrapper.filePath.empty() && wrapper.fileOperation != HTTPFileOperation::NONE;
}

/// Opens the file as the transfer will, so that a request that can't work fails before anything is sent. A
/// download's target is created or truncated by this.
bool testOpenFile(RequestWrapper& wrapper) {
    const bool download = wrapper.fileOperation == HTTPFileOperation::DOWNLOAD;
    std::FILE*& file = download ? wrapper.writeFile : wrapper.readFile;
    // A former attempt of the same request may have left its file open, somewhere in the middle.
    CurlHttpUtils::closeFile(&file);
    // A NUL would cut the path short: it would be another file's.
    file = hasNul(wrapper.filePath) ? nullptr : std::fopen(wrapper.filePath.c_str(), download ? "wb" : "rb");
    if (file == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(),
                      (download ? "Unable to open file to download - " : "Unable to open file to upload - ")
                          << CurlHttpUtils::loggableFilePath(wrapper));
        return false;
    }
    ZEB_LOG_DEBUG(log::httpClient(), (download ? "Successfully test-opened file with write option "
                                               : "Successfully test-opened file with read option ")
                                         << CurlHttpUtils::loggableFilePath(wrapper));
    CurlHttpUtils::closeFile(&file);
    return true;
}

long getFileSize(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Unable to open the file in order to get the size.");
        return 0;
    }
    long size = std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : 0;
    std::rewind(file);
    size = std::max(size, 0L);
    ZEB_LOG_DEBUG(log::httpClient(), "file size: " << size);
    CurlHttpUtils::closeFile(&file);
    return size;
}

// --- configuration, step by step -------------------------------------------------------------------------

void encodeUrl(HttpRequestData& data) {
    HttpRequestOptions& options = optionsOf(data);
    if (HttpUtils::mustBeEncodedForHttp(options.url)) {
        options.url = HttpUtils::encodeForHttp(options.url);
        ZEB_LOG_DEBUG(log::httpClient(), "Encoded URL: " << hiddenUrl(data));
    }
}

std::string hostOf(const HttpRequestData& data) {
    return HttpUtils::extractHostFromHttpUrl(optionsOf(data).url);
}

/// ":8443", or nothing for a URL without a port.
std::string portSuffixOf(const std::string& url) {
    const unsigned int port = HttpUtils::extractPortFromHttpUrl(url);
    return port == 0 ? std::string() : ":" + std::to_string(port);
}

bool giveUrl(const HttpRequestData& data, const std::string& url) {
    if (breaksLine(url)) {
        tellLeftOut(data, "its URL");
        return false;
    }
    const CURLcode code = curl_easy_setopt(handleOf(data), CURLOPT_URL, url.c_str());
    return !CurlHttpUtils::isSetOptError(code, "CURLOPT_URL", curl_easy_strerror(code));
}

void connectTo(HttpRequestData& data, const std::string& host, const std::string& target) {
    const std::string entry = connectToEntry(host, target, optionsOf(data).url);
    if (breaksLine(entry)) {
        // A proxy would be asked for that target as it stands.
        tellLeftOut(data, "the address to connect to");
        return;
    }
    ZEB_LOG_DEBUG(log::httpClient(),
                  "libcurl option for CURLOPT_CONNECT_TO: " << ZEBLogger_replacePIIData(entry));
    data.setConnectToList(curl_slist_append(nullptr, entry.c_str()));
    curl_easy_setopt(handleOf(data), CURLOPT_CONNECT_TO, data.getConnectToList());
}

/// A former URL of the request, before a failover, may have needed SNI: the certificate of this one must not
/// be checked for that one's names.
void forgetIdentifiers(SSLData& sslData) {
    if (!sslData.sniServerName.empty()) {
        sslData.sniServerName.clear();
        sslData.resetServerCurlFQDN();
    }
}

void setBody(CURL* curl, HttpRequestData& data) {
    const HttpRequestOptions& options = optionsOf(data);
    RequestWrapper& wrapper = data.getWrapper();
    if (!options.body.empty()) {
        SecureStringUtils::ZEBZeroString(wrapper.bodyCopy);
        appendSecret(wrapper.bodyCopy, options.body);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(wrapper.bodyCopy.size()));
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, wrapper.bodyCopy.c_str());
        return;
    }
    wrapper.binaryBodyCopy = options.binaryBody;
    const char* const bytes = wrapper.binaryBodyCopy.data();
    curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE,
                     static_cast<curl_off_t>(wrapper.binaryBodyCopy.size()));
    // A null pointer would make libcurl ask the read callback: an empty body must be one, too.
    curl_easy_setopt(curl, CURLOPT_POSTFIELDS, bytes == nullptr ? "" : bytes);
}

void setUploadFile(CURL* curl, RequestWrapper& wrapper) {
    curl_easy_setopt(curl, CURLOPT_READFUNCTION, &CurlHttpUtils::curlReadFileData);
    curl_easy_setopt(curl, CURLOPT_READDATA, &wrapper);
}

void setMethod(CURL* curl, HttpRequestData& data) {
    RequestWrapper& wrapper = data.getWrapper();
    const bool fileOperation = isFileOperation(wrapper);
    switch (optionsOf(data).method) {
        case HttpMethod::POST:
            curl_easy_setopt(curl, CURLOPT_POST, 1L);
            if (fileOperation) {
                const auto size = static_cast<curl_off_t>(getFileSize(wrapper.filePath));
                curl_easy_setopt(curl, CURLOPT_POSTFIELDS, nullptr);
                setUploadFile(curl, wrapper);
                curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, size);
                curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, size);
            } else {
                setBody(curl, data);
            }
            break;
        case HttpMethod::PUT:
            if (fileOperation) {
                curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
                setUploadFile(curl, wrapper);
                curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE,
                                 static_cast<curl_off_t>(getFileSize(wrapper.filePath)));
            } else {
                curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, "PUT");
                setBody(curl, data);
            }
            break;
        case HttpMethod::DELETE:
            curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, "DELETE");
            break;
        case HttpMethod::OPTIONS:
            curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, "OPTIONS");
            break;
        default:
            curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
            break;
    }
}

void setUserAndPassword(CURL* curl, const HttpRequestData& data, long scheme, const char* name) {
    curl_easy_setopt(curl, CURLOPT_HTTPAUTH, scheme);
    const std::shared_ptr<Credentials> credentials = optionsOf(data).credentials;
    if (credentials != nullptr) {
        std::string text = credentials->username + ":";
        appendSecret(text, credentials->password);
        if (hasNul(text)) {
            // A line break stays within the coding of these schemes; a NUL would cut the password short.
            tellLeftOut(data, "its user with password");
        } else {
            curl_easy_setopt(curl, CURLOPT_USERPWD, text.c_str());
        }
        SecureStringUtils::ZEBZeroString(text);
    }
    ZEB_LOG_DEBUG(log::httpClient(), "Request " << data.formattedRequestID() << " Using authentication "
                                                << name
                                                << (credentials != nullptr ? " with credentials" : ""));
}

void setAuthentication(CURL* curl, const RequestDataPtr& data) {
    switch (optionsOf(*data).authType) {
        case AuthType::BASIC:
            setUserAndPassword(curl, *data, CURLAUTH_BASIC, "HTTP_BASIC");
            break;
        case AuthType::OAUTH:
            if (optionsOf(*data).credentials != nullptr) {
                CurlHttpUtils::addOauthToken(data);
            }
            break;
        case AuthType::NTLM:
            setUserAndPassword(curl, *data, CURLAUTH_NTLM, "NTLM");
            break;
        case AuthType::NONE:
        case AuthType::RESERVED:
            break;
    }
}

long curlProxyType(ProxyType::Type type) {
    switch (type) {
        case ProxyType::HTTP_1_0:
            return CURLPROXY_HTTP_1_0;
        case ProxyType::SOCKS_4:
            return CURLPROXY_SOCKS4;
        case ProxyType::SOCKS_4A:
            return CURLPROXY_SOCKS4A;
        case ProxyType::SOCKS_5:
            return CURLPROXY_SOCKS5;
        case ProxyType::SOCKS_5_HOSTNAME:
            return CURLPROXY_SOCKS5_HOSTNAME;
        case ProxyType::HTTP:
            break;
    }
    return CURLPROXY_HTTP;
}

long curlProxyAuthentication(ProxyAuthentication::Type type) {
    switch (type) {
        case ProxyAuthentication::BASIC:
            return static_cast<long>(CURLAUTH_BASIC);
        case ProxyAuthentication::DIGEST:
            return static_cast<long>(CURLAUTH_DIGEST);
        case ProxyAuthentication::NTLM:
            return static_cast<long>(CURLAUTH_NTLM);
        case ProxyAuthentication::NEGOTIATE:
            return static_cast<long>(CURLAUTH_NEGOTIATE);
        case ProxyAuthentication::ANY:
            break;
    }
    return static_cast<long>(CURLAUTH_ANY);
}

bool hasPort(const std::string& proxyUrl) {
    const bool hasScheme = !HttpUtils::extractProtocolFromHttpUrl(proxyUrl).empty();
    return HttpUtils::extractPortFromHttpUrl(hasScheme ? proxyUrl : "http://" + proxyUrl) != 0;
}

void setProxyCredentials(CURL* curl, const HttpRequestData& data, const Proxy& proxy) {
    const std::string username = proxy.getUsername();
    std::string password;
    appendSecret(password, proxy.getPassword());
    // The digest scheme writes the user into its header as it stands.
    if (breaksLine(username) || breaksLine(password)) {
        tellLeftOut(data, "its proxy's user with password");
    } else {
        curl_easy_setopt(curl, CURLOPT_PROXYUSERNAME, username.c_str());
        curl_easy_setopt(curl, CURLOPT_PROXYPASSWORD, password.c_str());
    }
    SecureStringUtils::ZEBZeroString(password);
    curl_easy_setopt(curl, CURLOPT_PROXYAUTH, curlProxyAuthentication(proxy.getProxyAuthenticationType()));
}

void setRequiredProxy(CURL* curl, const HttpRequestData& data, const Proxy& proxy) {
    const std::string url = proxy.getURL();
    if (breaksLineOnceDecoded(url)) {
        // Without any proxy the request would go where the host doesn't want it to go. This one is none that
        // libcurl can use, so the transfer ends before anything is sent.
        tellLeftOut(data, "its proxy's URL");
        curl_easy_setopt(curl, CURLOPT_PROXY, UNUSABLE_PROXY);
        return;
    }
    curl_easy_setopt(curl, CURLOPT_PROXY, url.c_str());
    // Separate headers, and none for the proxy: nothing of the request's own reaches it in a CONNECT.
    curl_easy_setopt(curl, CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));
    curl_easy_setopt(curl, CURLOPT_PROXYHEADER, nullptr);
    const bool defaultPort = !hasPort(url);
    if (defaultPort) {
        curl_easy_setopt(curl, CURLOPT_PROXYPORT, 80L);
    }
    curl_easy_setopt(curl, CURLOPT_PROXYTYPE, curlProxyType(proxy.getProxyType()));
    setProxyCredentials(curl, data, proxy);
    ZEB_LOG_INFO(log::httpClient(), "Request " << data.formattedRequestID()
                                               << " proxy configuration:"
                                                  " URL '"
                                               << ZEBLogger_replacePIIData(url) << "'."
                                               << (defaultPort ? " Use default proxy port 80." : "")
                                               << " Set authentication."
                                                  " authtype:"
                                               << proxy.getProxyAuthenticationType());
}

void setProxy(CURL* curl, HttpRequestData& data) {
    data.proxyUsed = false;
    const std::shared_ptr<Proxy> proxy = data.getRequest()->getProxy();
    if (proxy == nullptr || proxy->getURL().empty()) {
        return;
    }
    ZEB_LOG_DEBUG(log::httpClient(), "Proxy set, comparing the host to the proxy bypass list");
    data.proxyUsed = ProxyBypassReader(proxy->getBypassList())
                         .isProxyRequired(HttpUtils::extractHostFromHttpUrl(optionsOf(data).url));
    if (data.proxyUsed) {
        setRequiredProxy(curl, data, *proxy);
    } else {
        curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");
    }
}

void setTls(CURL* curl, HttpRequestData& data) {
    // No resumption: each handshake reaches the verification hook.
    curl_easy_setopt(curl, CURLOPT_SSL_SESSIONID_CACHE, 0L);
    // The hook matches the host's name, against more than libcurl would.
    curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    // The hook is the only judge: libcurl's own bundle must neither decide nor, by its absence, fail the
    // handshake before the hook runs.
    curl_easy_setopt(curl, CURLOPT_CAINFO, nullptr);
    VerificationLabel::putOn(data);  // in place of CURLOPT_CAPATH
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, &CurlHttpUtils::curlSSLCallback);
    curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, &data);
}

void setLowSpeedLimit(CURL* curl, const HttpRequestData& data) {
    if (data.getWrapper().fileOperation == HTTPFileOperation::NONE) {
        return;
    }
    const long wanted = optionsOf(data).lowSpeedTimeout;
    const long seconds = wanted == 0 ? DEFAULT_LOW_SPEED_TIMEOUT_S : wanted;
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, seconds);
    ZEB_LOG_DEBUG(log::httpClient(), "Setting low transfer speed timeout value in seconds to : " << seconds);
}

void setTimeouts(CURL* curl, const HttpRequestOptions& options) {
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(
        curl, CURLOPT_CONNECTTIMEOUT_MS,
        options.connectionTimeout == 0 ? DEFAULT_CONNECTION_TIMEOUT_MS : options.connectionTimeout);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, options.transferTimeout);
}

void setTransferCallbacks(CURL* curl, HttpRequestData& data) {
    const HttpRequestOptions& options = optionsOf(data);
    if (options.followRedirects) {
        curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
        curl_easy_setopt(curl, CURLOPT_MAXREDIRS, MAX_REDIRECTS);
    }
    if (options.forbidReuse) {
        ZEB_LOG_DEBUG(log::httpClient(), "Setting curl option CURLOPT_FORBID_REUSE to true");
        curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
    }
    if (data.getRequest()->getListener() != nullptr) {
        curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(curl, CURLOPT_PROGRESSFUNCTION, &CurlHttpUtils::curlProgressFunction);
        curl_easy_setopt(curl, CURLOPT_PROGRESSDATA, &data);
    }
}

// --- forms -----------------------------------------------------------------------------------------------

/// A NUL would cut the name short, or make the path another file's.
bool isPartLeftOut(const HttpRequestData& data, const MultiformPart& part) {
    if (!hasNul(part.getName()) && !hasNul(part.getFilePath())) {
        return false;
    }
    tellLeftOut(data, "a part of its form");
    return true;
}

/// A name for the header of a part, with its line breaks coded as browsers do. libcurl does so, too, but only
/// from 7.81 on.
std::string inOneLine(const std::string& name) {
    std::string line;
    for (const char c : name) {
        if (c == '\r') {
            line += "%0D";
        } else if (c == '\n') {
            line += "%0A";
        } else {
            line += c;
        }
    }
    return line;
}

CURLFORMcode addPart(RequestWrapper& wrapper, const MultiformPart& part, const CurlHeaders& headers) {
    const std::string name = inOneLine(part.getName());
    curl_slist* const list = headers.getCurlHeaderList();
    CURLFORMcode code = CURL_FORMADD_OK;
    switch (part.getType()) {
        case MultiformPartType::FROM_STRING:
            // With its length: a NUL in it is one of its characters.
            code = curl_formadd(&wrapper.formFirst, &wrapper.formLast, CURLFORM_COPYNAME, name.c_str(),
                                CURLFORM_COPYCONTENTS, part.getValue().c_str(), CURLFORM_CONTENTLEN,
                                static_cast<curl_off_t>(part.getValue().size()), CURLFORM_CONTENTHEADER, list,
                                CURLFORM_END);
            if (wrapper.formFirst == nullptr && wrapper.formLast == nullptr) {
                ZEB_LOG_WARNING(log::httpClient(), "Items are in fact null.");
            }
            break;
        case MultiformPartType::FROM_BUFFER:
            code = curl_formadd(&wrapper.formFirst, &wrapper.formLast, CURLFORM_COPYNAME, name.c_str(),
                                CURLFORM_BUFFER, name.c_str(), CURLFORM_BUFFERPTR, part.getBuffer(),
                                CURLFORM_BUFFERLENGTH, static_cast<long>(part.getBufferLength()),
                                CURLFORM_CONTENTHEADER, list, CURLFORM_END);
            break;
        case MultiformPartType::FROM_FILE: {
            const std::string& path = part.getFilePath();
            // The one that libcurl takes from the path by itself, but for line breaks.
            const std::string file = inOneLine(path.substr(path.rfind('/') + 1));
            code = curl_formadd(&wrapper.formFirst, &wrapper.formLast, CURLFORM_COPYNAME, name.c_str(),
                                CURLFORM_FILE, path.c_str(), CURLFORM_FILENAME, file.c_str(),
                                CURLFORM_CONTENTHEADER, list, CURLFORM_END);
            break;
        }
    }
    return code;
}

// --- writing what comes in -------------------------------------------------------------------------------

/// Opened once per transfer; null when that fails.
std::FILE* openWriteFile(HttpRequestData& data) {
    RequestWrapper& wrapper = data.getWrapper();
    if (wrapper.writeFile == nullptr) {
        wrapper.writeFile = std::fopen(wrapper.filePath.c_str(), "wb");
    }
    if (wrapper.writeFile == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "For request " << data.formattedRequestID()
                                                        << ", unable to open the file '"
                                                        << CurlHttpUtils::loggableFilePath(wrapper)
                                                        << "' for writing, aborting transfer.");
    }
    return wrapper.writeFile;
}

void discardDownload(RequestWrapper& wrapper) {
    const std::string path = CurlHttpUtils::loggableFilePath(wrapper);
    ZEB_LOG_ERROR(log::httpClient(),
                  "Failed to write data to file '" << path << "'. Removing the file and aborting transfer.");
    CurlHttpUtils::closeFile(&wrapper.writeFile);
    if (std::remove(wrapper.filePath.c_str()) != 0) {
        ZEB_LOG_ERROR(log::httpClient(), "Failed to remove the file '" << path << "'.");
    }
}

bool writeToFile(RequestWrapper& wrapper, const char* bytes, std::size_t count) {
    if (std::fwrite(bytes, 1, count, wrapper.writeFile) == count && std::ferror(wrapper.writeFile) == 0) {
        return true;
    }
    discardDownload(wrapper);
    return false;
}

/// False aborts the transfer.
bool takeDownloadedBytes(HttpRequestData& data, const char* bytes, std::size_t count) {
    if (openWriteFile(data) == nullptr) {
        return false;
    }
    if (!CurlHttpUtils::isResponseSuccessful(data.responseCode) &&
        !CurlHttpUtils::isFileProtocol(optionsOf(data).url)) {
        ZEB_LOG_WARNING(log::httpClient(),
                        "The request "
                            << data.formattedRequestID()
                            << " has chosen to write data to a file but the response code indicated "
                               "an error, appending the data to the response body instead.");
        data.body.append(bytes, count);
        return true;
    }
    return writeToFile(data.getWrapper(), bytes, count);
}

// --- header lines ----------------------------------------------------------------------------------------

bool isHeaderLoggedInClear(const HttpHeader& header) {
    static constexpr std::array<const char*, 20> IN_CLEAR = {"AGE",
                                                             "CACHE-CONTROL",
                                                             "CONNECTION",
                                                             "CONTENT-LENGTH",
                                                             "CONTENT-TYPE",
                                                             "DATE",
                                                             "EXPIRES",
                                                             "HOST",
                                                             "PRAGMA",
                                                             "PROXY-AUTHENTICATE",
                                                             "RETRY-AFTER",
                                                             "PROXY-CONNECTION",
                                                             "SERVER",
                                                             "TRACKINGID",
                                                             "TRANSFER-ENCODING",
                                                             "USER-AGENT",
                                                             "VARY",
                                                             "VIA",
                                                             "WWW-AUTHENTICATE",
                                                             "X-CF-REQUESTID"};
    const std::string upper = QRMCoreUtils::toUppercase(header.first);
    return !header.second.empty() && std::any_of(IN_CLEAR.begin(), IN_CLEAR.end(),
                                                 [&upper](const char* name) { return upper == name; });
}

std::string accumulatedHeaders(const HttpHeaders& headers) {
    std::string text;
    for (const HttpHeader& header : headers) {
        text += "\n" + header.first + ": " +
                (isHeaderLoggedInClear(header) ? header.second : "Redacted by client");
    }
    return text;
}

bool isValidCurlString(const char* data, std::size_t size, std::size_t nmemb) {
    return data != nullptr && size != 0 && nmemb != 0 && size * nmemb >= 2 &&
           std::string_view(data, size * nmemb) != " ";
}

/// Keeps the identities that the certificate is checked for tied to the host that is really reached.
void clearIdentityInformationOnRedirect(HttpRequestData& data) {
    SSLData& sslData = data.getSSLData();
    if (!sslData.identifierToDisplay.empty()) {
        ZEB_LOG_DEBUG(log::httpClient(), "resetting the identifier to display on redirect");
        sslData.resetIdentifierToDisplay();
    }
    if (!sslData.serverCurlFQDN.empty()) {
        ZEB_LOG_DEBUG(log::httpClient(), "resetting the server Curl FQDN on redirect");
        sslData.resetServerCurlFQDN();
    }
    if (sslData.identityMatchModel == IdentityMatchModel::STRICT_MATCH &&
        optionsOf(data).useProvidedIdentity) {
        ZEB_LOG_DEBUG(log::httpClient(),
                      "certIdentityValidationModel is set to STRICT and custom identities "
                      "have been provided, the identity information will not be "
                      "cleared on redirect");
    } else if (!sslData.referenceIdentifiers.empty()) {
        ZEB_LOG_DEBUG(log::httpClient(),
                      "custom reference identifiers were specified, but the server hostname "
                      "will be used as the request has been redirected");
        sslData.resetReferenceIdentifiers();
    }
}

/// Of a line with a colon in it. Behind that one character is taken for the blank, whatever it is.
HttpHeader buildHeaderPair(std::string_view line) {
    const std::size_t colon = line.find(':');
    HttpHeader header(line.substr(0, colon), "");
    if (colon + 2 < line.size()) {
        header.second = line.substr(colon + 2);
    } else {
        ZEB_LOG_DEBUG(log::httpClient(), "Unexpected condition: cannot parse header : " << header.first);
    }
    return header;
}

void takeHeader(HttpRequestData& data, HttpHeader header) {
    if (data.headers->empty()) {
        data.headers->reserve(USUAL_HEADERS);
    }
    data.headers->push_back(std::move(header));
    const HttpHeader& taken = data.headers->back();
    static const std::string LOCATION = "LOCATION";
    if (QRMCoreUtils::caseInsensitiveStringEquals(taken.first, LOCATION)) {
        data.redirectUrls->push_back(taken.second);
        if (optionsOf(data).followRedirects) {
            clearIdentityInformationOnRedirect(data);
            // Other names: the way on must not lead over a connection that the former ones have accepted.
            if (!VerificationLabel::putOn(data)) {
                throw std::bad_alloc();  // aborts the transfer, as nothing else keeps libcurl from it
            }
        }
    }
}

void takeStatusLine(HttpRequestData& data, std::string_view line) {
    ZEB_LOG_DEBUG(log::httpClient(), "Request " << data.formattedRequestID() << " got status line: " << line);
    if (!data.headers->empty()) {
        ZEB_LOG_DEBUG(log::httpClient(),
                      "For request " << data.formattedRequestID() << ", removing " << data.headers->size()
                                     << " previous headers because a new response is starting");
        data.headers->clear();
    }
}

void takeBlocksEnd(const HttpRequestData& data) {
    ZEB_LOG_DEBUG(log::httpClient(), "Request " << data.formattedRequestID()
                                                << " got CR-LF pair.  Accumulated headers:"
                                                << accumulatedHeaders(*data.headers));
}

/// Without the CR and LF at its end. A line too short to have them is told of, and is looked at as it is.
std::string_view withoutItsEnd(std::string_view bytes) {
    if (bytes.size() > 2) {
        return bytes.substr(0, bytes.size() - 2);
    }
    ZEB_LOG_WARNING(log::httpClient(),
                    "Got header line with unexpected length " << bytes.size() << " and content: " << bytes);
    return bytes;
}

void takeHeaderLine(HttpRequestData& data, std::string_view bytes) {
    if (bytes == "\r\n") {
        takeBlocksEnd(data);
        return;
    }
    const std::string_view line = withoutItsEnd(bytes);
    if (line.find(':') != std::string_view::npos) {
        takeHeader(data, buildHeaderPair(line));
    } else if (line.compare(0, 4, "HTTP") == 0) {
        takeStatusLine(data, line);
    }
}

// --- libcurl's callbacks ---------------------------------------------------------------------------------

/// What the callback answers, or, since nothing may be thrown through libcurl, what aborts the transfer: an
/// exception here means that there is no memory for what has come.
template <typename Answer, typename Callback>
Answer guarded(Answer abort, const Callback& callback) {
    try {
        return callback();
    } catch (...) {
        return abort;
    }
}

std::size_t takeBytes(char* data, std::size_t size, std::size_t nmemb, void* requestData) {
    auto* const request = static_cast<HttpRequestData*>(requestData);
    if (request == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Private user object is NULL.");
        return 0;
    }
    if (request->getRequest()->isCancelled()) {
        ZEB_LOG_INFO(log::httpClient(), "Request " << request->formattedRequestID()
                                                   << " has been canceled, not processing the response.");
        return 0;
    }
    if (!CurlHttpUtils::getResponseCode(request)) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "Failed to get the response code for request " << request->formattedRequestID() << ".");
    }
    const std::size_t count = size * nmemb;
    const RequestWrapper& wrapper = request->getWrapper();
    if (wrapper.fileOperation == HTTPFileOperation::DOWNLOAD && !wrapper.filePath.empty()) {
        if (!takeDownloadedBytes(*request, data, count)) {
            return 0;
        }
    } else {
        request->body.append(data, count);
    }
    SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(data), count);
    request->addTotalDataReceived(nmemb);
    return count;
}

std::size_t giveBytes(char* out, std::size_t size, std::size_t nmemb, RequestWrapper& wrapper) {
    // Without a listener there is no progress callback, and a long upload would be aborted by nothing else.
    if (wrapper.request != nullptr && wrapper.request->isCancelled()) {
        return CURL_READFUNC_ABORT;
    }
    if (wrapper.readFile == nullptr) {
        wrapper.readFile = std::fopen(wrapper.filePath.c_str(), "rb");
    }
    if (wrapper.readFile == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Unable to open the file "
                                             << CurlHttpUtils::loggableFilePath(wrapper)
                                             << " for reading, aborting transfer.");
        return CURL_READFUNC_ABORT;
    }
    const std::size_t count = std::fread(out, size, nmemb, wrapper.readFile);
    return std::ferror(wrapper.readFile) != 0 ? CURL_READFUNC_ABORT : size * count;
}

/// libcurl ends a response whose head is above 300 KiB, but passes on the trailers of a chunked body without
/// end; versions before 8.3 that nobody has patched bound nothing.
bool isTooMuchOfHeaders(HttpRequestData& data, std::size_t count) {
    std::size_t& bytes = data.getWrapper().headerBytes;
    bytes += count;
    if (bytes <= MAX_HEADER_BYTES) {
        return false;
    }
    ZEB_LOG_ERROR(log::httpClient(), "The headers for request " << data.formattedRequestID()
                                                                << " are too large, aborting transfer.");
    return true;
}

std::size_t takeHeaderBytes(const char* data, std::size_t size, std::size_t nmemb, void* requestData) {
    auto* const request = static_cast<HttpRequestData*>(requestData);
    if (request == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Private user object is NULL.");
        return size * nmemb;
    }
    if (!isValidCurlString(data, size, nmemb)) {
        ZEB_LOG_ERROR(log::httpClient(), "The string libCURL provided is invalid.");
        return size * nmemb;
    }
    if (request->getRequest()->isCancelled()) {
        ZEB_LOG_INFO(log::httpClient(), "Request " << request->formattedRequestID()
                                                   << " has been canceled, not processing the header.");
        return 0;
    }
    if (isTooMuchOfHeaders(*request, size * nmemb)) {
        return 0;
    }
    takeHeaderLine(*request, std::string_view(data, size * nmemb));
    return size * nmemb;
}

/// What a listener throws is its own affair: the transfer goes on.
void report(const HttpRequestData& data, const ProgressData& progress) {
    const std::shared_ptr<HttpClientListener> listener = data.getRequest()->getListener();
    if (listener == nullptr) {
        return;
    }
    try {
        listener->onRequestProgress(data.getRequestId(), progress);
    } catch (...) {
        ZEB_LOG_ERROR(log::httpClient(), "The listener of request "
                                             << data.formattedRequestID()
                                             << " has thrown an exception at its progress.");
    }
}

int takeProgress(void* requestData, const ProgressData& download, const ProgressData& upload) {
    auto* const data = static_cast<HttpRequestData*>(requestData);
    if (data == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Private user object is NULL.");
        return 0;
    }
    if (data->getRequest()->isCancelled()) {
        ZEB_LOG_INFO(log::httpClient(),
                     "Cancelling request " << data->formattedRequestID() << " to URL " << hiddenUrl(*data));
        return 1;
    }
    RequestWrapper& wrapper = data->getWrapper();
    const ProgressData& progress = wrapper.fileOperation == HTTPFileOperation::UPLOAD ? upload : download;
    const double now = progress.transferred;
    if (now - wrapper.lastReportedProgress >= PROGRESS_STEP_BYTES ||
        (progress.total > 0 && now == progress.total)) {
        wrapper.lastReportedProgress = now;
        report(*data, progress);
    }
    return 0;
}

// --- TLS -------------------------------------------------------------------------------------------------

/// Gives the handshake the names that the certificate is to be checked for, as far as the caller gave none.
void setDefaultIdentities(HttpRequestData& data, const std::string& effectiveUrl) {
    SSLData& sslData = data.getSSLData();
    // With a name for SNI the URL holds that one; the real host has been kept aside.
    const std::string host = sslData.sniServerName.empty()
                                 ? HttpUtils::extractHostFromHttpUrl(HttpUtils::bareUrl(effectiveUrl))
                                 : sslData.serverCurlFQDN;
    if (sslData.identifierToDisplay.empty()) {
        sslData.identifierToDisplay = host;
        sslData.identifierToDisplayDefaulted = true;
    }
    ZEB_LOG_DEBUG(log::httpClient(), "SNI: ["
                                         << ZEBLogger_replacePIIData(sslData.sniServerName) << "] FQDN :["
                                         << ZEBLogger_replacePIIData(sslData.serverCurlFQDN) << "] Display:["
                                         << ZEBLogger_replacePIIData(sslData.identifierToDisplay) << "]");
    if (sslData.serverCurlFQDN.empty()) {
        sslData.serverCurlFQDN = host;
        if (sslData.referenceIdentifiers.empty()) {
            sslData.referenceIdentifiersDefaulted = true;
        }
    }
}

// --- the outcome -----------------------------------------------------------------------------------------

const char* offeredProxyScheme(long available) {
    if ((available & static_cast<long>(CURLAUTH_NEGOTIATE)) != 0) {
        return "NEGOTIATE";
    }
    if ((available & static_cast<long>(CURLAUTH_NTLM)) != 0) {
        return "NTLM";
    }
    if ((available & static_cast<long>(CURLAUTH_BASIC)) != 0) {
        return "BASIC";
    }
    return "NONE";
}

void printInfoElement(std::ostream& text, EasyCURLConnection& connection, CURLINFO info, const char* name) {
    double seconds = 0;
    text << name << " = ";
    if (curl_easy_getinfo(connection.getHandle(), info, &seconds) == CURLE_OK) {
        text << seconds;
    } else {
        text << "unavailable";
        ZEB_LOG_ERROR(log::httpClient(), "failed to get " << name << "time: " << connection.getErrorBuffer());
    }
}

}  // namespace

bool CurlHttpUtils::isSetOptError(int code, std::string_view optionName, std::string_view errorText) {
    if (code == CURLE_OK) {
        return false;
    }
    ZEB_LOG_ERROR(log::httpClient(),
                  "Failed to set option : " << optionName << " : " << code << " " << errorText);
    return true;
}

bool CurlHttpUtils::configureEasyRequest(const RequestDataPtr& data) {
    ZEB_LOG_INFO(log::httpClient(),
                 "*-----* "
                 "Configuring request "
                     << data->formattedRequestID() << " " << optionsOf(*data).methodName() << " "
                     << hiddenUrl(*data));
    const std::shared_ptr<EasyCURLConnection> connection = data->getCurlConnection();
    if (connection == nullptr || connection->getHandle() == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "Unable to configure the easy request. The provided HttpRequestData "
                      "does not own an EasyCURLConnection");
        return false;
    }
    CURL* const curl = connection->getHandle();
    if (!connection->takePristine()) {
        curl_easy_reset(curl);
    }
    setHeadersFromHttpRequestData(data);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &curlHeaderCallback);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, data.get());
    encodeUrl(*data);
    data->getWrapper().urlGiven = setUrl(data);
    if (!prepareFile(data->getWrapper())) {
        return false;
    }
    setMethod(curl, *data);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &curlWriteCallback);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, data.get());
    setAuthentication(curl, data);
    setProxy(curl, *data);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, connection->getErrorBuffer());
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &curlTraceCallback);
    curl_easy_setopt(curl, CURLOPT_DEBUGDATA, data.get());
    if (!optionsOf(*data).multiformParts.empty()) {
        if (!configureMultiformRequest(data)) {
            return false;
        }
        curl_easy_setopt(curl, CURLOPT_HTTPPOST, data->getWrapper().formFirst);
    }
    setTransferCallbacks(curl, *data);
    // Always: without it libcurl tells the trace callback nothing.
    curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
    setLowSpeedLimit(curl, *data);
    setTls(curl, *data);
    // Turns the cookie engine on, as CURLOPT_COOKIEFILE with "" does; but of that one libcurl keeps a list
    // entry which curl_easy_reset forgets unfreed (seen with 7.88), so that each request would leak one.
    curl_easy_setopt(curl, CURLOPT_COOKIELIST, "");
    if (optionsOf(*data).isCookieMandatory()) {
        setCookieMandatory(data);
    } else {
        setCookies(data);
    }
    setTimeouts(curl, optionsOf(*data));
    ZEB_LOG_DEBUG(log::httpClient(),
                  "Request " << data->formattedRequestID()
                             << " configured with: " << optionsOf(*data).acceptableTlsVersionsAsString()
                             << ", transfer timeout " << optionsOf(*data).transferTimeout << " msec");
    return true;
}

bool CurlHttpUtils::setUrl(const RequestDataPtr& data) {
    if (!optionsOf(*data).isEdgeRequest() || breaksLine(optionsOf(*data).url)) {
        forgetIdentifiers(data->getSSLData());
        return setUrlWithoutSNI(data);
    }
    const std::string host = hostOf(*data);
    const std::string serverName = netutils::SNIUtil::getServerNameForSNI(host);
    if (!serverName.empty() && serverName != host) {
        setIdentifiers(data, serverName);
        return setUrlWithSNI(data, serverName);
    }
    forgetIdentifiers(data->getSSLData());
    const std::string ip = toldAddressOf(host);
    return ip.empty() ? setUrlWithoutSNI(data) : setUrlWithIP(data, ip);
}

bool CurlHttpUtils::setUrlWithoutSNI(const RequestDataPtr& data) {
    return giveUrl(*data, optionsOf(*data).url);
}

bool CurlHttpUtils::setIdentifiers(const RequestDataPtr& data, const std::string& serverName) {
    SSLData& sslData = data->getSSLData();
    sslData.sniServerName = serverName;
    sslData.serverCurlFQDN = hostOf(*data);
    return true;
}

bool CurlHttpUtils::setUrlWithSNI(const RequestDataPtr& data, const std::string& serverName) {
    const std::string& url = optionsOf(*data).url;
    connectTo(*data, serverName, hostOf(*data));
    return giveUrl(*data, HttpUtils::extractProtocolFromHttpUrl(url) + "://" + serverName +
                              portSuffixOf(url) + HttpUtils::extractRequestFromHttpUrl(url));
}

bool CurlHttpUtils::setUrlWithIP(const RequestDataPtr& data, const std::string& ip) {
    connectTo(*data, hostOf(*data), ip);
    return giveUrl(*data, optionsOf(*data).url);
}

bool CurlHttpUtils::setHeadersFromHttpRequestData(const RequestDataPtr& data) {
    return setHeaders(data, optionsOf(*data).headers);
}

bool CurlHttpUtils::setHeaders(const RequestDataPtr& data, const std::shared_ptr<HttpHeaders>& headers) {
    const HttpRequestOptions& options = optionsOf(*data);
    auto list = std::make_shared<CurlHeaders>(headers);
    list->appendHeaderForSNI("Host", options.url, options.isEdgeRequest());
    const CURLcode code = curl_easy_setopt(handleOf(*data), CURLOPT_HTTPHEADER, list->getCurlHeaderList());
    // The former list goes only now: until then libcurl held it.
    data->getWrapper().requestHeaders = std::move(list);
    return !isSetOptError(code, "CURLOPT_HTTPHEADER", curl_easy_strerror(code));
}

bool CurlHttpUtils::addOauthToken(const RequestDataPtr& data) {
    const std::shared_ptr<Credentials> credentials = optionsOf(*data).credentials;
    const bool withToken = credentials != nullptr && !credentials->token.empty();
    ZEB_LOG_DEBUG(log::httpClient(), "Request " << data->formattedRequestID()
                                                << " Using authentication "
                                                   "OAUTH"
                                                << (withToken ? " with token" : ""));
    if (!withToken) {
        return true;
    }
    HttpHeader header("Authorization", "Bearer ");
    appendSecret(header.second, credentials->token);
    bool set = true;
    const std::shared_ptr<CurlHeaders> list = data->getWrapper().requestHeaders;
    if (list != nullptr && list->getCurlHeaderList() != nullptr) {
        list->appendHeader(header);
    } else {
        const auto headers = std::make_shared<HttpHeaders>(1);
        headers->front().first = header.first;
        headers->front().second.swap(header.second);
        set = setHeaders(data, headers);
        SecureStringUtils::ZEBZeroString(headers->front().second);
    }
    SecureStringUtils::ZEBZeroString(header.second);
    return set;
}

bool CurlHttpUtils::setCookies(const RequestDataPtr& data) {
    std::string names;
    for (const common::Cookie& cookie : optionsOf(*data).cookies) {
        std::string raw = cookie.getRawFormat();
        if (isCookieLeftOut(*data, raw)) {
            continue;
        }
        const CURLcode code = curl_easy_setopt(handleOf(*data), CURLOPT_COOKIELIST, raw.c_str());
        SecureStringUtils::ZEBZeroString(raw);
        if (isSetOptError(code, "CURLOPT_COOKIELIST", curl_easy_strerror(code))) {
            return false;
        }
        names += " " + cookie.getName();
    }
    ZEB_LOG_DEBUG(log::httpClient(), "Request " << data->formattedRequestID() << " cookies:" << names);
    return true;
}

bool CurlHttpUtils::setCookieMandatory(const RequestDataPtr& data) {
    const std::vector<common::Cookie>& cookies = optionsOf(*data).cookies;
    std::string text;
    for (const common::Cookie& cookie : cookies) {
        std::string raw = cookie.getRawFormat();
        if (isCookieLeftOut(*data, raw)) {
            continue;
        }
        SecureStringUtils::ZEBZeroString(raw);
        std::string value = cookie.getValue();
        std::string longer;
        longer.reserve(text.size() + cookie.getName().size() + value.size() + 3);
        longer.append(text).append(" ").append(cookie.getName()).append("=").append(value).append(";");
        text.swap(longer);
        SecureStringUtils::ZEBZeroString(longer);
        SecureStringUtils::ZEBZeroString(value);
    }
    if (text.empty()) {
        return true;
    }
    const CURLcode code = curl_easy_setopt(handleOf(*data), CURLOPT_COOKIE, text.c_str() + 1);
    SecureStringUtils::ZEBZeroString(text);
    return !isSetOptError(code, "CURLOPT_COOKIE", curl_easy_strerror(code));
}

bool CurlHttpUtils::configureMultiformRequest(const RequestDataPtr& data) {
    const HttpRequestOptions& options = optionsOf(*data);
    RequestWrapper& wrapper = data->getWrapper();
    // A further attempt builds a form of its own.
    wrapper.formFirst = nullptr;
    wrapper.formLast = nullptr;
    for (const std::shared_ptr<MultiformPart>& part : options.multiformParts) {
        if (part == nullptr || isPartLeftOut(*data, *part)) {
            continue;
        }
        auto headers = std::make_shared<CurlHeaders>(part->getHeaders());
        headers->appendHeaderForSNI("Host", options.url, options.isEdgeRequest());
        wrapper.partHeaders.push_back(headers);
        ZEB_LOG_DEBUG(log::httpClient(),
                      "Adding " << part->getName() << ", " << ZEBLogger_replacePIIData(part->getValue()));
        const CURLFORMcode code = addPart(wrapper, *part, *headers);
        if (code != CURL_FORMADD_OK) {
            ZEB_LOG_ERROR(log::httpClient(), "Fail to add multiform part - CURLFORMcode: " << code);
            return false;
        }
    }
    return true;
}

bool CurlHttpUtils::resetCurlPassword(const RequestDataPtr& data) {
    const std::shared_ptr<Credentials> credentials = optionsOf(*data).credentials;
    CURL* const curl = handleOf(*data);
    if (credentials == nullptr || curl == nullptr) {
        return false;
    }
    SecureStringReader reader;
    credentials->password.getUnsecureString(reader);
    std::string blanks = credentials->username + ":" + std::string(reader.getBufSize(), ' ');
    curl_easy_setopt(curl, CURLOPT_USERPWD, blanks.c_str());
    SecureStringUtils::ZEBZeroString(blanks);
    return true;
}

std::size_t CurlHttpUtils::curlWriteCallback(char* data, std::size_t size, std::size_t nmemb,
                                             void* requestData) {
    return guarded<std::size_t>(0, [&] { return takeBytes(data, size, nmemb, requestData); });
}

std::size_t CurlHttpUtils::curlReadFileData(char* out, std::size_t size, std::size_t nmemb, void* wrapper) {
    return guarded<std::size_t>(CURL_READFUNC_ABORT, [&] {
        return giveBytes(out, size, nmemb, *static_cast<RequestWrapper*>(wrapper));
    });
}

std::size_t CurlHttpUtils::curlHeaderCallback(char* data, std::size_t size, std::size_t nmemb,
                                              void* requestData) {
    return guarded<std::size_t>(0, [&] { return takeHeaderBytes(data, size, nmemb, requestData); });
}

int CurlHttpUtils::curlProgressFunction(void* requestData, double dlTotal, double dlNow, double ulTotal,
                                        double ulNow) {
    return guarded(1, [&] { return takeProgress(requestData, {dlTotal, dlNow}, {ulTotal, ulNow}); });
}

int CurlHttpUtils::curlSSLCallback(void* curl, void* sslCtx, void* requestData) try {
    auto* const data = static_cast<HttpRequestData*>(requestData);
    auto* const context = static_cast<SSL_CTX*>(sslCtx);
    SSL_CTX_ctrl(context, SSL_CTRL_SET_SIGALGS_LIST, 0, const_cast<char*>(SIGNATURE_ALGORITHMS));
    SSL_CTX_set_options(context, OpenSSLOptions::getOptions(optionsOf(*data).acceptableTlsVersions));
    const char* effectiveUrl = nullptr;
    if (curl_easy_getinfo(curl, CURLINFO_EFFECTIVE_URL, &effectiveUrl) != CURLE_OK) {
        ZEB_LOG_ERROR(log::httpClient(), "Failed to get last url from Curl");
    } else if (effectiveUrl == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "fqdn not set");
    } else {
        setDefaultIdentities(*data, effectiveUrl);
    }
    SSL_CTX_set_cert_verify_callback(context, &SslUtils::verifyCb, &data->getSSLData());
    return CURLE_OK;
} catch (...) {
    return CURLE_SSL_CONNECT_ERROR;  // without memory, and without the hook, there is no connection
}

bool CurlHttpUtils::getResponseCode(HttpRequestData* data) {
    CURL* const curl = handleOf(*data);
    if (curl == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "Unable to get the response code. The provided HttpRequestData does "
                      "not own an EasyCURLConnection");
        return false;
    }
    long code = 0;
    if (curl_easy_getinfo(curl, CURLINFO_HTTP_CONNECTCODE, &code) == CURLE_OK) {
        data->connectCode = static_cast<int>(code);
    }
    if (data->connectCode == PROXY_AUTHENTICATION_REQUIRED) {
        long available = 0;
        curl_easy_getinfo(curl, CURLINFO_PROXYAUTH_AVAIL, &available);
        data->proxyAuthType = offeredProxyScheme(available);
    }
    const CURLcode result = curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &code);
    if (result != CURLE_OK) {
        ZEB_LOG_ERROR(log::httpClient(), "Unable to get the response code: " << result << " for request "
                                                                             << data->formattedRequestID()
                                                                             << ".");
        return false;
    }
    data->responseCode = static_cast<int>(code);
    return true;
}

bool CurlHttpUtils::getIpAddress(const RequestDataPtr& data) {
    std::string local;
    std::string destination;
    if (!ip::IpUtils::getIpAddressesFromCurl(handleOf(*data), local, destination)) {
        return false;
    }
    data->localIpAddress = ip::IpAddress::createIpAddress(local);
    data->destinationIpAddress = ip::IpAddress::createIpAddress(destination);
    return true;
}

bool CurlHttpUtils::storeCookies(const RequestDataPtr& data) {
    CURL* const curl = handleOf(*data);
    if (curl == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "Unable to store the cookies. The provided HttpRequestData does not "
                      "own an EasyCURLConnection");
        return false;
    }
    curl_slist* list = nullptr;
    if (curl_easy_getinfo(curl, CURLINFO_COOKIELIST, &list) != CURLE_OK) {
        ZEB_LOG_ERROR(log::httpClient(), "failed to get list of cookies");
        return false;
    }
    if (!data->cookies.empty()) {
        ZEB_LOG_DEBUG(log::httpClient(), "removing " << data->cookies.size() << " previously stored cookies");
        data->cookies.clear();
    }
    for (curl_slist* item = list; item != nullptr; item = item->next) {
        std::string raw = item->data;
        data->cookies.emplace_back(raw);
        SecureStringUtils::ZEBZeroString(raw);
        SecureStringUtils::ZEBZeroMemory(item->data, std::strlen(item->data));
    }
    curl_slist_free_all(list);
    return true;
}

void CurlHttpUtils::logOperationTiming(const RequestDataPtr& data) {
    if (handleOf(*data) == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "Unable to log the operation timing. The provided HttpRequestData does "
                      "not own an EasyCURLConnection");
        return;
    }
    if (!ZEBLog_isDebugEnabled(log::httpClient())) {
        return;
    }
    const std::shared_ptr<EasyCURLConnection> connection = data->getCurlConnection();
    static constexpr std::array<std::pair<CURLINFO, const char*>, 7> ELEMENTS = {{
        {CURLINFO_NAMELOOKUP_TIME, "name lookup"},
        {CURLINFO_CONNECT_TIME, "connect"},
        {CURLINFO_APPCONNECT_TIME, "ssl connect"},
        {CURLINFO_PRETRANSFER_TIME, "pre-transfer"},
        {CURLINFO_STARTTRANSFER_TIME, "start-transfer"},
        {CURLINFO_TOTAL_TIME, "total"},
        {CURLINFO_REDIRECT_TIME, "redirect"},
    }};
    std::ostringstream text;
    const char* separator = "[";
    for (const auto& [info, name] : ELEMENTS) {
        text << separator;
        separator = " ; ";
        printInfoElement(text, *connection, info, name);
    }
    text << "]";
    ZEB_LOG_DEBUG(log::httpClient(),
                  "Request " << data->formattedRequestID() << " network IO timestamps: " << text.str());
}

std::string CurlHttpUtils::loggableUrl(const std::shared_ptr<Request>& request) {
    if (request == nullptr || request->getOptions() == nullptr) {
        return {};
    }
    const HttpRequestOptions& options = *request->getOptions();
    if (options.isLoggingOptionSet(LoggingOption::NO_URL) || options.url.empty()) {
        return {};
    }
    std::string url = options.url;
    if (options.isLoggingOptionSet(LoggingOption::NO_URL_PATH)) {
        const std::string path = HttpUtils::extractRequestFromHttpUrl(url);
        if (!path.empty()) {
            url.replace(url.find(path), path.size(), "/[...]");
        }
    }
    return url;
}

std::string CurlHttpUtils::loggableFilePath(const RequestWrapper& wrapper) {
    const bool hidden = wrapper.request != nullptr && wrapper.request->getOptions() != nullptr &&
                        wrapper.request->getOptions()->isLoggingOptionSet(LoggingOption::NO_FILE_PATH);
    return hidden ? "[...]" : wrapper.filePath;
}

bool CurlHttpUtils::isResponseSuccessful(int code) {
    return code == 200;
}

bool CurlHttpUtils::isFileProtocol(const std::string& url) {
    return HttpUtils::extractProtocolFromHttpUrl(url) == "file";
}

bool CurlHttpUtils::prepareFile(RequestWrapper& wrapper) {
    return !isFileOperation(wrapper) || testOpenFile(wrapper);
}

bool CurlHttpUtils::closeDownloadedFile(RequestWrapper& wrapper) {
    if (wrapper.writeFile == nullptr) {
        return true;
    }
    const bool closed = std::fclose(wrapper.writeFile) == 0;
    wrapper.writeFile = nullptr;
    if (!closed) {
        discardDownload(wrapper);
    }
    return closed;
}

void CurlHttpUtils::closeFile(std::FILE** file) {
    if (file != nullptr && *file != nullptr) {
        (void)std::fclose(*file);
        *file = nullptr;
    }
}

}  // namespace zeb::http

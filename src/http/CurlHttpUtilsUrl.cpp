// The URL of an easy handle: what CurlHttpUtils does for names that differ between DNS and TLS.

#include "core/Log.h"
#include "edge/EdgeDetectionController.h"
#include "edge/GlobalEdgeState.h"
#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/HttpUtils.h"
#include "http/LineText.h"
#include "http/Request.h"
#include "ip/IpUtils.h"
#include "netutils/GlobalEdgeStateController.h"
#include "netutils/SNIUtil.h"

#include <stdexcept>

#include <curl/curl.h>

namespace zeb::http {

namespace {

using RequestDataPtr = std::shared_ptr<HttpRequestData>;

const std::string& urlOf(const HttpRequestData& data) {
    return data.getRequest()->getOptions()->url;
}

std::string hostOf(const HttpRequestData& data) {
    return HttpUtils::extractHostFromHttpUrl(urlOf(data));
}

/// ":8443", or nothing for a URL without a port.
std::string portSuffixOf(const std::string& url) {
    const unsigned int port = HttpUtils::extractPortFromHttpUrl(url);
    return port == 0 ? std::string() : ":" + std::to_string(port);
}

/// An IPv6 address in brackets, as it must stand where a port may follow; a name as it is.
std::string bracketed(const std::string& host) {
    return ip::IpUtils::isIpv6Address(host) ? "[" + host + "]" : host;
}

CURL* handleOf(const HttpRequestData& data) {
    const std::shared_ptr<EasyCURLConnection> connection = data.getCurlConnection();
    return connection == nullptr ? nullptr : connection->getHandle();
}

bool giveUrl(const HttpRequestData& data, const std::string& url) {
    if (breaksLine(url)) {
        ZEB_LOG_ERROR(log::httpClient(), "Request "
                                             << data.formattedRequestID()
                                             << " its URL is left out: it has a line break or NUL in it");
        return false;
    }
    const CURLcode code = curl_easy_setopt(handleOf(data), CURLOPT_URL, url.c_str());
    return !CurlHttpUtils::isSetOptError(code, "CURLOPT_URL", curl_easy_strerror(code));
}

/// Connections for `host` go to `target`, whatever port they are for: the port between the two stays empty.
void connectTo(HttpRequestData& data, const std::string& host, const std::string& target) {
    const std::string entry = bracketed(host) + "::" + bracketed(target) + portSuffixOf(urlOf(data));
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

/// Null when there is no edge layer: a transfer must not hear of that by an exception, nor wait, in the midst
/// of others, for one that starts.
std::shared_ptr<edge::EdgeDetectionController> edgeDetectionControllerOrNull() {
    if (!netutils::GlobalEdgeStateController::isInitialized()) {
        return nullptr;
    }
    try {
        return netutils::GlobalEdgeStateController::getGlobalEdgeState()->getEdgeDetectionController();
    } catch (const std::logic_error&) {
        return nullptr;  // gone since
    }
}

/// The address to connect to without asking DNS; empty when there is none.
std::string toldAddressOf(const std::string& host) {
    const std::shared_ptr<edge::EdgeDetectionController> controller = edgeDetectionControllerOrNull();
    if (controller == nullptr) {
        return {};
    }
    // In this order: the first question may change the answer to the second.
    const std::string ip = controller->findIPbyHost(host);
    return controller->isOrbelVDIOVT() ? ip : std::string();
}

}  // namespace

bool CurlHttpUtils::setUrl(const RequestDataPtr& data) {
    if (!data->getRequest()->getOptions()->isEdgeRequest() || breaksLine(urlOf(*data))) {
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
    return giveUrl(*data, urlOf(*data));
}

bool CurlHttpUtils::setIdentifiers(const RequestDataPtr& data, const std::string& serverName) {
    SSLData& sslData = data->getSSLData();
    sslData.sniServerName = serverName;
    sslData.serverCurlFQDN = hostOf(*data);
    return true;
}

bool CurlHttpUtils::setUrlWithSNI(const RequestDataPtr& data, const std::string& serverName) {
    const std::string& url = urlOf(*data);
    connectTo(*data, serverName, hostOf(*data));
    return giveUrl(*data, HttpUtils::extractProtocolFromHttpUrl(url) + "://" + serverName +
                              portSuffixOf(url) + HttpUtils::extractRequestFromHttpUrl(url));
}

bool CurlHttpUtils::setUrlWithIP(const RequestDataPtr& data, const std::string& ip) {
    connectTo(*data, hostOf(*data), ip);
    return giveUrl(*data, urlOf(*data));
}

}  // namespace zeb::http

#include "http/TransferTrace.h"

#include "core/Log.h"
#include "core/SecureStringUtils.h"
#include "http/CurlHttpUtils.h"
#include "http/HttpRequestData.h"
#include "http/HttpUtils.h"
#include "ip/IpUtils.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string_view>

#include <curl/curl.h>

namespace zeb::http {

using Phase = CurlHttpUtils::RequestPhase::Phase;
using RequestPhase = CurlHttpUtils::RequestPhase;

namespace {

constexpr char UNKNOWN_PHASE[] = "Unknown phase";

/// Null for a phase that no text marks.
const char* markerOf(Phase phase) {
    switch (phase) {
        case RequestPhase::ABOUT_TO:
            return "About to ";
        case RequestPhase::PRE_CONNECT:
            return "  Trying ";
        case RequestPhase::POST_CONNECT:
            return "Connected";
        case RequestPhase::SSL_HANDSHAKE:
            return "handshake, Client hello";
        case RequestPhase::POST_SSL_HANDSHAKE:
            return "SSL connection using";
        case RequestPhase::SERVER_AUTH:
            return "Server auth using ";
        case RequestPhase::PROXY_AUTH:
            return "Proxy auth using ";
        case RequestPhase::CONNECTION:
            return "Connectio";
        default:
            return nullptr;
    }
}

/// The text behind the phase's marker; empty, with a null data(), when the marker isn't there.
std::string_view afterMarker(std::string_view text, Phase phase) {
    const std::string_view marker = markerOf(phase);
    const std::size_t at = text.find(marker);
    return at == std::string_view::npos ? std::string_view() : text.substr(at + marker.size());
}

bool beginsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(BLANKS);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(BLANKS) - first + 1);
}

/// How the log names a phase whose text may be logged, hidden as a whole.
const char* loggedNameOf(Phase phase) {
    switch (phase) {
        case RequestPhase::PRE_CONNECT:
            return " pre connect phase: '";
        case RequestPhase::POST_CONNECT:
            return " post connect phase: '";
        case RequestPhase::SSL_HANDSHAKE:
            return " SSL handshake phase: '";
        case RequestPhase::POST_SSL_HANDSHAKE:
            return " post SSL handshake phase: '";
        default:
            return nullptr;
    }
}

void logPhase(const HttpRequestData& data, const char* name, std::string_view text) {
    if (!ZEBLog_isDebugEnabled(log::httpClient())) {
        return;
    }
    std::string copy(text);
    ZEB_LOG_DEBUG(log::httpClient(),
                  "Request " << data.formattedRequestID() << name << ZEBLogger_replacePIIData(copy) << "'");
    SecureStringUtils::ZEBZeroString(copy);
}

/// Such a text holds a user name in quotes: what stands before it is logged, and how long it is.
void takeAuthentication(HttpRequestData& data, Phase phase, std::string_view text) {
    // libcurl's own message begins with the marker. One that only has it somewhere inside is about something
    // else, a cookie of the server's for instance, whose value must not reach the log or pass for the proxy's
    // scheme.
    if (!beginsWith(text, markerOf(phase))) {
        return;
    }
    const std::size_t quote = text.find('\'');
    if (quote != std::string_view::npos && text.size() >= quote + 2) {
        ZEB_LOG_DEBUG(log::httpClient(), "Request " << data.formattedRequestID()
                                                    << " auth phase: " << text.substr(0, quote)
                                                    << "name length = " << text.size() - quote - 2);
    }
    if (phase == RequestPhase::PROXY_AUTH) {
        std::string copy(text);
        std::string scheme = getProxyAuthenticationTypeFromStr(copy);
        SecureStringUtils::ZEBZeroString(copy);
        if (!scheme.empty()) {
            data.proxyAuthType.swap(scheme);
        }
    }
}

void takeTrace(HttpRequestData& data, CurlInfoType type, std::string_view text) {
    if (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    // Without a log only the proxy's scheme counts, and libcurl talks a lot.
    if (!ZEBLog_isDebugEnabled(log::httpClient()) && !beginsWith(text, markerOf(RequestPhase::PROXY_AUTH))) {
        return;
    }
    const Phase phase = CurlHttpUtils::matchPhase({type, text});
    if (phase == RequestPhase::SERVER_AUTH || phase == RequestPhase::PROXY_AUTH) {
        takeAuthentication(data, phase, text);
    } else if (const char* const name = loggedNameOf(phase)) {
        logPhase(data, name, text);
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, CurlInfoType type) {
    switch (type.value) {
        case CURLINFO_TEXT:
            return stream << "TEXT";
        case CURLINFO_HEADER_IN:
            return stream << "HEADER_IN";
        case CURLINFO_HEADER_OUT:
            return stream << "HEADER_OUT";
        case CURLINFO_DATA_IN:
            return stream << "DATA_IN";
        case CURLINFO_DATA_OUT:
            return stream << "DATA_OUT";
        case CURLINFO_SSL_DATA_IN:
            return stream << "SSL_DATA_IN";
        case CURLINFO_SSL_DATA_OUT:
            return stream << "SSL_DATA_OUT";
        default:
            return stream << "Unexpected value (" << type.value << ")";
    }
}

std::string getProxyAuthenticationTypeFromStr(const std::string& text) {
    constexpr std::string_view USING = "using";
    const std::size_t found = text.find(USING);
    if (found == std::string::npos) {
        return {};
    }
    const std::size_t behind = found + USING.size();
    const std::size_t with = text.find("with", behind);
    const std::size_t begin = behind + 1;
    const std::size_t end = with == std::string::npos ? text.size() : with - 1;
    return begin < end ? text.substr(begin, end - begin) : std::string();
}

std::string CurlHttpUtils::getPhaseKey(RequestPhase::Phase phase) {
    const char* const marker = markerOf(phase);
    return marker == nullptr ? UNKNOWN_PHASE : marker;
}

const CurlHttpUtils::PhaseMap& CurlHttpUtils::getPhaseMap() {
    static const PhaseMap* const map = [] {  // never destroyed: transfers may outlive static destruction
        auto* const made = new PhaseMap;
        for (const Phase phase :
             {RequestPhase::ABOUT_TO, RequestPhase::PRE_CONNECT, RequestPhase::POST_CONNECT,
              RequestPhase::SSL_HANDSHAKE, RequestPhase::POST_SSL_HANDSHAKE, RequestPhase::CONNECTION,
              RequestPhase::SERVER_AUTH, RequestPhase::PROXY_AUTH}) {
            made->emplace(markerOf(phase), phase);
        }
        return made;
    }();
    return *map;
}

CurlHttpUtils::RequestPhase::Phase CurlHttpUtils::matchPhaseFromInfoData(std::string_view text) {
    for (const auto& [marker, phase] : getPhaseMap()) {
        if (marker.size() <= text.size() && text.find(marker) != std::string_view::npos) {
            return phase;
        }
    }
    return RequestPhase::NO_MATCH;
}

CurlHttpUtils::RequestPhase::Phase CurlHttpUtils::matchPhase(
    const std::pair<CurlInfoType, std::string_view>& message) {
    switch (message.first.value) {
        case CURLINFO_TEXT:
            return matchPhaseFromInfoData(message.second);
        case CURLINFO_HEADER_IN:
            return RequestPhase::HEADERS_IN;
        case CURLINFO_HEADER_OUT:
            return RequestPhase::HEADERS_OUT;
        case CURLINFO_DATA_IN:
            return RequestPhase::DATA_IN;
        case CURLINFO_DATA_OUT:
            return RequestPhase::DATA_OUT;
        case CURLINFO_SSL_DATA_IN:
            return RequestPhase::SSL_DATA_IN;
        case CURLINFO_SSL_DATA_OUT:
            return RequestPhase::SSL_DATA_OUT;
        default:
            return RequestPhase::NO_MATCH;
    }
}

int CurlHttpUtils::curlTraceCallback(void* /*curl*/, int type, char* text, std::size_t size,
                                     void* requestData) {
    auto* const data = static_cast<HttpRequestData*>(requestData);
    // Everything but texts is of no phase that does anything: it isn't looked at, far less copied.
    if (data == nullptr || text == nullptr || type != CURLINFO_TEXT) {
        return 0;
    }
    try {
        takeTrace(*data, {type}, std::string_view(text, size));
    } catch (const std::exception&) {
        return 0;  // no memory for a log line: the transfer doesn't depend on it
    }
    return 0;
}

std::string CurlHttpUtils::getResolvedIp(const std::string& text) {
    return normalizeIp(std::string(afterMarker(text, RequestPhase::PRE_CONNECT)));
}

std::string CurlHttpUtils::normalizeIp(const std::string& text) {
    std::string_view rest = trimmed(text);
    rest = trimmed(rest.substr(0, rest.find("...")));
    std::string address(rest);
    const bool accepted = !address.empty() && (ip::IpUtils::isIpAddress(address) ||
                                               HttpUtils::checkUrlForIpV6("http://" + address));
    return accepted ? address : std::string();
}

std::string CurlHttpUtils::getSslVersion(const std::string& text) {
    const std::size_t marker = text.find(markerOf(RequestPhase::SSL_HANDSHAKE));
    if (marker == std::string::npos) {
        return {};
    }
    return text.substr(0, std::min(marker, text.find(',')));
}

std::string CurlHttpUtils::getCipherSuite(const std::string& text) {
    const std::string_view rest = afterMarker(text, RequestPhase::POST_SSL_HANDSHAKE);
    return rest.empty() ? std::string() : std::string(rest.substr(1));
}

}  // namespace zeb::http

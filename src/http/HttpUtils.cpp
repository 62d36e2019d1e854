#include "http/HttpUtils.h"

#include "common/ReadDecimal.h"
#include "core/Log.h"
#include "ip/NumericAddress.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>

namespace zeb::http {
namespace {

constexpr std::size_t NOT_FOUND = std::string_view::npos;
constexpr std::string_view SCHEME_END = "://";

bool isEmpty(const std::string& url) {
    if (!url.empty()) {
        return false;
    }
    ZEB_LOG_WARNING(log::http(), "url is empty");
    return true;
}

std::size_t authorityStart(std::string_view url) {
    const std::size_t schemeEnd = url.find(SCHEME_END);
    return schemeEnd == NOT_FOUND ? 0 : schemeEnd + SCHEME_END.size();
}

/// Where the host stands in a text that is expected to begin with a scheme: the first "/" is taken for that
/// of "://", whatever stands around it. Callers rely on "a/b" having no host here.
std::size_t hostStart(std::string_view text) {
    const std::size_t slash = text.find('/');
    return slash == NOT_FOUND ? 0 : slash + 2;
}

/// The text from start up to, not including, stop; either may lie behind the end.
std::string_view between(std::string_view text, std::size_t start, std::size_t stop) {
    if (start >= text.size() || stop <= start) {
        return {};
    }
    return text.substr(start, stop - start);
}

std::size_t findEither(std::string_view text, char one, char other, std::size_t start) {
    const std::size_t first = text.find(one, start);
    return std::min(first, text.substr(0, first).find(other, start));
}

/// "[" and "]" in the wrong order have nothing between them; the text then stays as it is.
std::string_view insideBrackets(std::string_view authority) {
    const std::size_t open = authority.find('[');
    const std::size_t close = authority.find(']');
    if (open == NOT_FOUND || close == NOT_FOUND || close < open) {
        return authority;
    }
    return between(authority, open + 1, close);
}

bool hasIpv6Authority(std::string_view url) {
    const std::size_t start = authorityStart(url);
    const std::string_view authority = between(url, start, url.find('/', start));
    // With a single colon it is none: nearly every authority, without a closer look.
    return std::count(authority.begin(), authority.end(), ':') > 1 &&
           ip::numericFamily(insideBrackets(authority)) == ip::NumericFamily::IPV6;
}

std::string_view hostOf(std::string_view url) {
    std::size_t start = authorityStart(url);
    if (!hasIpv6Authority(url)) {
        return between(url, start, findEither(url, '/', ':', start));
    }
    ZEB_LOG_DEBUG(log::http(), "URL is IPv6");
    // Wherever the bracket stands: callers have none but those around the address.
    if (url.find('[') != NOT_FOUND) {
        ++start;
    }
    return between(url, start, findEither(url, '/', ']', start));
}

/// Where the search for the port's ":" begins, or NOT_FOUND when there can be no port.
std::size_t portSearchStart(std::string_view url, std::size_t start, std::size_t slash) {
    if (!hasIpv6Authority(url)) {
        return start;
    }
    const std::size_t close = url.find(']', start);
    return close >= slash ? NOT_FOUND : close + 1;  // a bare address has no "]", and so no port
}

bool isLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool mustBeEncoded(char c) {
    return c == ' ' || static_cast<unsigned char>(c) > 127;
}

/// The entry without its scheme key; nothing when it serves another scheme.
std::optional<std::string_view> proxyOf(std::string_view entry, std::string_view wantedScheme) {
    const std::size_t equals = entry.find('=');
    if (equals != NOT_FOUND) {
        if (entry.substr(0, equals) != wantedScheme) {
            return std::nullopt;
        }
        entry.remove_prefix(equals + 1);
    }
    const std::size_t schemeEnd = entry.find(SCHEME_END);
    if (schemeEnd != NOT_FOUND && entry.substr(0, schemeEnd) != wantedScheme) {
        return std::nullopt;
    }
    return entry;
}

}  // namespace

std::string HttpUtils::extractProtocolFromHttpUrl(const std::string& url) {
    if (isEmpty(url)) {
        return {};
    }
    const std::size_t schemeEnd = url.find(SCHEME_END);
    return schemeEnd == NOT_FOUND ? std::string() : url.substr(0, schemeEnd);
}

std::string HttpUtils::bareUrl(const std::string& url) {
    const std::size_t schemeEnd = url.find("://");
    const std::size_t start = schemeEnd == std::string::npos ? 0 : schemeEnd + 3;
    const std::string authority = url.substr(start, url.find_first_of("/?#", start) - start);
    return url.substr(0, start) + authority.substr(authority.rfind('@') + 1);
}

std::string HttpUtils::extractHostFromHttpUrl(const std::string& url) {
    return isEmpty(url) ? std::string() : std::string(hostOf(url));
}

std::string HttpUtils::extractHostnameFromStr(const std::string& text) {
    if (isEmpty(text)) {
        return {};
    }
    const std::size_t start = hostStart(text);
    const std::size_t end = findEither(text, '/', ':', start);
    const std::string_view host = between(text, start, end);
    // An address that nothing follows isn't looked at as one: "10.1.2.3" is cut like a name.
    if (end != NOT_FOUND && ip::numericFamily(host) != ip::NumericFamily::NONE) {
        return std::string(host);
    }
    return std::string(host.substr(0, host.find('.')));
}

std::string HttpUtils::extractFqdnFromStr(const std::string& text) {
    if (isEmpty(text)) {
        return {};
    }
    const std::size_t start = hostStart(text);
    return std::string(between(text, start, findEither(text, '/', ':', start)));
}

unsigned int HttpUtils::extractPortFromHttpUrl(const std::string& url) {
    if (isEmpty(url)) {
        return 0;
    }
    const std::size_t start = authorityStart(url);
    const std::size_t slash = url.find('/', start);
    const std::size_t searchStart = portSearchStart(url, start, slash);
    const std::size_t colon = url.find(':', searchStart);
    if (colon == NOT_FOUND || colon > slash) {
        return 0;
    }
    return common::readDecimal<unsigned int>(std::string_view(url).substr(colon + 1));
}

std::string HttpUtils::extractFilenameFromHttpUrl(const std::string& url) {
    if (isEmpty(url)) {
        return {};
    }
    const std::size_t slash = url.rfind('/');
    return slash == NOT_FOUND ? std::string() : url.substr(slash + 1);
}

std::string HttpUtils::extractBaseUrlFromHttpUrl(const std::string& url) {
    if (isEmpty(url)) {
        return {};
    }
    const std::size_t slashes = url.find("//");
    return slashes == NOT_FOUND ? std::string() : url.substr(0, url.find('/', slashes + 2));
}

std::string HttpUtils::extractRequestFromHttpUrl(const std::string& url) {
    if (isEmpty(url)) {
        return {};
    }
    const std::size_t slash = url.find('/', authorityStart(url));
    return slash == NOT_FOUND ? std::string() : url.substr(slash);
}

bool HttpUtils::checkUrlForIpV6(const std::string& url) {
    return !isEmpty(url) && hasIpv6Authority(url);
}

bool HttpUtils::mustBeEncodedForHttp(const std::string& url) {
    return std::any_of(url.begin(), url.end(), mustBeEncoded);
}

std::string HttpUtils::encodeForHttp(const std::string& url) {
    if (isEmpty(url)) {
        return {};
    }
    static constexpr char HEX[] = "0123456789ABCDEF";
    const auto encodedBytes = static_cast<std::size_t>(std::count_if(url.begin(), url.end(), mustBeEncoded));
    if (encodedBytes == 0) {
        return url;
    }
    std::string encoded;
    encoded.reserve(url.size() + 2 * encodedBytes);
    for (const char c : url) {
        if (mustBeEncoded(c)) {
            const auto byte = static_cast<unsigned char>(c);
            encoded += {'%', HEX[byte >> 4U], HEX[byte & 0x0FU]};
        } else {
            encoded += c;
        }
    }
    return encoded;
}

std::string HttpUtils::extractFullDomainFromHttpUrl(const std::string& url) {
    if (isEmpty(url)) {
        return {};
    }
    const std::string_view host = hostOf(url);
    const std::size_t dot = host.find('.');
    if (dot == NOT_FOUND) {
        ZEB_LOG_DEBUG(log::http(), "Url is not FQDN");
        return {};
    }
    const std::string_view domain = host.substr(dot + 1);
    ZEB_LOG_DEBUG(log::http(),
                  "Extracted domain from home KDR URI is " << ZEBLogger_replacePIIData(std::string(domain)));
    if (!std::any_of(domain.begin(), domain.end(), isLetter)) {
        ZEB_LOG_DEBUG(log::http(), "Domain contains no letters- assume it is IP address");
        return {};
    }
    return std::string(domain);
}

std::string HttpUtils::getProxyFromList(const std::string& protocol,
                                        const std::vector<std::string>& proxies) {
    if (proxies.empty()) {
        ZEB_LOG_DEBUG(log::http(), "Proxy list empty");
        return {};
    }
    const std::string_view wantedScheme = protocol.empty() ? std::string_view("http") : protocol;
    for (const std::string& text : proxies) {
        if (const auto proxy = proxyOf(text, wantedScheme)) {
            return std::string(*proxy);
        }
    }
    return {};
}

}  // namespace zeb::http

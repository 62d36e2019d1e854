#include "http/ProxyBypassReader.h"

#include "common/StringUtils.h"
#include "core/Log.h"
#include "core/StringExtension.h"

#include <regex>

namespace zeb::http {

namespace {

constexpr char SEPARATORS[] = ";, ";

bool isLegacyWildcardMatch(const std::string& token, const std::string& hostname) {
    const std::size_t start = hostname.rfind(token);
    const bool matches = start != std::string::npos && start != 0 &&
                         start + token.size() == hostname.size() && hostname[start - 1] == '.';
    ZEB_LOG_DEBUG(log::httpClient(), "Host: " << ZEBLogger_replacePIIData(hostname) << ", legacy wildcard "
                                              << (matches ? "match" : "no match"));
    return matches;
}

std::string patternOf(const std::string& token) {
    std::string pattern;
    for (const char c : token) {
        if (c == '.') {
            pattern += "\\.";
        } else if (c == '*') {
            pattern += ".*";
        } else {
            pattern += c;
        }
    }
    return pattern;
}

bool isPatternMatch(const std::string& token, const std::string& hostname) {
    const std::string pattern = patternOf(token);
    try {
        if (std::regex_match(hostname, std::regex(pattern, std::regex::ECMAScript))) {
            ZEB_LOG_DEBUG(log::httpClient(),
                          "Host: " << ZEBLogger_replacePIIData(hostname) << ", matched token: " << pattern);
            return true;
        }
    } catch (const std::regex_error&) {
        ZEB_LOG_ERROR(log::httpClient(), "Regex failed: " << pattern);
    }
    return false;
}

}  // namespace

ProxyBypassReader::ProxyBypassReader(const std::string& bypassList) : bypassList_(bypassList) {
    ProxyBypassReader::setBypassListTokens();
}

ProxyBypassReader::~ProxyBypassReader() = default;

void ProxyBypassReader::setBypassListTokens() {
    tokens_.clear();
    std::size_t start = bypassList_.find_first_not_of(SEPARATORS);
    while (start != std::string::npos) {
        const std::size_t end = bypassList_.find_first_of(SEPARATORS, start);
        tokens_.push_back(bypassList_.substr(start, end - start));
        start = bypassList_.find_first_not_of(SEPARATORS, end);
    }
}

std::vector<std::string> ProxyBypassReader::getBypassListTokens() {
    return tokens_;
}

bool ProxyBypassReader::isProxyRequired(const std::string& hostname) {
    if (hostname.empty()) {
        ZEB_LOG_WARNING(log::httpClient(), "Hostname is empty, default to using the proxy");
        return true;
    }
    if (tokens_.empty()) {
        ZEB_LOG_DEBUG(log::httpClient(), "Bypass List is empty, default to using the proxy");
        return true;
    }
    const std::string host = StringExtension::stringToLower(hostname);
    for (const std::string& listed : tokens_) {
        const std::string token = StringExtension::stringToLower(common::StringUtils::trim(listed));
        if (isLegacyWildcardMatch(token, host) || isPatternMatch(token, host)) {
            return false;
        }
    }
    ZEB_LOG_DEBUG(log::httpClient(), "proxyRequired: " << true);
    return true;
}

}  // namespace zeb::http

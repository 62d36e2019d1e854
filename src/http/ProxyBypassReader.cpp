#include "http/ProxyBypassReader.h"

#include "common/StringUtils.h"
#include "core/Log.h"
#include "core/StringExtension.h"

#include <algorithm>
#include <regex>

namespace zeb::http {

namespace {

constexpr char SEPARATORS[] = ";, ";
// A name has at most 253 characters.
constexpr std::size_t MAX_HOSTNAME = 1024;
constexpr std::size_t MAX_PATTERN = 512;
constexpr std::size_t MAX_UNROLLED = 4096;  ///< characters, repetitions written out

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

/// The number at that position; a comma can't follow, it separates tokens.
std::size_t countAt(const std::string& pattern, std::size_t position) {
    std::size_t count = 0;
    for (; position < pattern.size() && pattern[position] >= '0' && pattern[position] <= '9'; ++position) {
        count = std::min(count * 10 + static_cast<std::size_t>(pattern[position] - '0'), MAX_UNROLLED + 1);
    }
    return count;
}

/// How often counted repetitions at most multiply what they stand behind: the standard library unrolls them,
/// nested ones too.
std::size_t repetitionsIn(const std::string& pattern) {
    std::size_t product = 1;
    for (std::size_t brace = pattern.find('{'); brace != std::string::npos;
         brace = pattern.find('{', brace + 1)) {
        product = std::min(product * std::max<std::size_t>(countAt(pattern, brace + 1), 1), MAX_UNROLLED + 1);
    }
    return product;
}

/// Look-aheads take exponential time when they are nested; back-references can't do without backtracking, and
/// the standard library overflows on their number.
bool hasLookAheadOrBackReference(const std::string& pattern) {
    if (pattern.find("(?=") != std::string::npos || pattern.find("(?!") != std::string::npos) {
        return true;
    }
    for (std::size_t i = 1; i < pattern.size(); ++i) {
        if (pattern[i - 1] == '\\' && pattern[i] >= '1' && pattern[i] <= '9') {
            return true;
        }
    }
    return false;
}

/// The list may come from anywhere. What would cost more stack or time than a host name is worth is refused
/// like a pattern that makes no sense.
bool isBounded(const std::string& pattern) {
    return pattern.size() <= MAX_PATTERN && pattern.size() * repetitionsIn(pattern) <= MAX_UNROLLED &&
           !hasLookAheadOrBackReference(pattern);
}

/// Matched without backtracking, so in time that grows with the product of both lengths only.
bool matches(const std::string& pattern, const std::string& hostname) {
    if (!isBounded(pattern)) {
        throw std::regex_error(std::regex_constants::error_complexity);
    }
    const std::regex regex(pattern, std::regex::ECMAScript | std::regex_constants::__polynomial);
    return hostname.size() <= MAX_HOSTNAME && std::regex_match(hostname, regex);
}

bool isPatternMatch(const std::string& token, const std::string& hostname) {
    const std::string pattern = patternOf(token);
    try {
        if (matches(pattern, hostname)) {
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

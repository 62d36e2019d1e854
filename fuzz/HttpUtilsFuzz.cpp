#include "Require.h"
#include "http/HttpUtils.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

using zeb::http::HttpUtils;

namespace {

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

void checkPieces(const std::string& url) {
    const std::string protocol = HttpUtils::extractProtocolFromHttpUrl(url);
    ZEB_REQUIRE(protocol.empty() || startsWith(url, protocol + "://"));

    const std::string base = HttpUtils::extractBaseUrlFromHttpUrl(url);
    ZEB_REQUIRE(startsWith(url, base));
    ZEB_REQUIRE(base.empty() == !contains(url, "//"));

    const std::string request = HttpUtils::extractRequestFromHttpUrl(url);
    ZEB_REQUIRE(endsWith(url, request));
    ZEB_REQUIRE(request.empty() || request.front() == '/');

    const std::string filename = HttpUtils::extractFilenameFromHttpUrl(url);
    ZEB_REQUIRE(endsWith(url, filename));
    ZEB_REQUIRE(!contains(filename, "/"));
}

void checkHosts(const std::string& url) {
    const std::string host = HttpUtils::extractHostFromHttpUrl(url);
    ZEB_REQUIRE(contains(url, host));
    ZEB_REQUIRE(!contains(host, "/"));
    const bool ipv6 = HttpUtils::checkUrlForIpV6(url);
    ZEB_REQUIRE(ipv6 || !contains(host, ":"));
    ZEB_REQUIRE(!ipv6 || !contains(host, "]"));

    const std::string domain = HttpUtils::extractFullDomainFromHttpUrl(url);
    ZEB_REQUIRE(domain.empty() || endsWith(host, "." + domain));

    const std::string fqdn = HttpUtils::extractFqdnFromStr(url);
    ZEB_REQUIRE(contains(url, fqdn));
    ZEB_REQUIRE(fqdn.find_first_of("/:") == std::string::npos);
    ZEB_REQUIRE(startsWith(fqdn, HttpUtils::extractHostnameFromStr(url)));
}

/// Cuts the authority out first, and reads the number by a stream.
unsigned int portOf(const std::string& url) {
    const std::size_t schemeEnd = url.find("://");
    std::string authority = url.substr(schemeEnd == std::string::npos ? 0 : schemeEnd + 3);
    authority.erase(std::min(authority.find('/'), authority.size()));
    if (HttpUtils::checkUrlForIpV6(url)) {
        authority.erase(0, std::min(authority.find(']'), authority.size()));
    }
    authority.erase(0, std::min(authority.find(':'), authority.size()));
    if (authority.empty()) {
        return 0;
    }
    std::istringstream stream(authority.substr(1));
    unsigned int port = 0;
    return stream >> port ? port : 0;
}

void checkPort(const std::string& url) {
    if (!contains(url, "-")) {  // a stream wraps a negative number round
        ZEB_REQUIRE(HttpUtils::extractPortFromHttpUrl(url) == portOf(url));
    }
}

std::string encodedByFormat(const std::string& url) {
    std::ostringstream encoded;
    for (const char c : url) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == 32 || byte > 127) {
            encoded << '%' << std::hex << std::uppercase << static_cast<unsigned int>(byte);
        } else {
            encoded << c;
        }
    }
    return encoded.str();
}

void checkEncoding(const std::string& url) {
    const std::string encoded = HttpUtils::encodeForHttp(url);
    ZEB_REQUIRE(encoded == encodedByFormat(url));
    ZEB_REQUIRE(HttpUtils::encodeForHttp(encoded) == encoded);
}

void checkProxies(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    const std::string protocol = lines.empty() ? "" : lines.front();
    const std::string proxy = HttpUtils::getProxyFromList(protocol, lines);
    ZEB_REQUIRE(proxy.empty() || std::any_of(lines.begin(), lines.end(), [&proxy](const std::string& line) {
                    return endsWith(line, proxy);
                }));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    LogController::getInstance()->setLevel(0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string url(reinterpret_cast<const char*>(data), size);
    checkPieces(url);
    checkHosts(url);
    checkPort(url);
    checkEncoding(url);
    checkProxies(url);
    return 0;
}

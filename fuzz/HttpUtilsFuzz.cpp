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

    if (HttpUtils::extractPortFromHttpUrl(url) != 0) {
        ZEB_REQUIRE(contains(url, ":"));
    }
}

void checkEncoding(const std::string& url) {
    const std::string encoded = HttpUtils::encodeForHttp(url);
    ZEB_REQUIRE(std::all_of(encoded.begin(), encoded.end(),
                            [](char c) { return c != ' ' && static_cast<unsigned char>(c) < 128; }));
    ZEB_REQUIRE(HttpUtils::encodeForHttp(encoded) == encoded);
    ZEB_REQUIRE((encoded.size() - url.size()) % 2 == 0);
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
    checkEncoding(url);
    checkProxies(url);
    return 0;
}

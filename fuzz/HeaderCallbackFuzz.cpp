#include "Require.h"
#include "http/CurlHttpUtils.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

using zeb::http::CurlHttpUtils;
using zeb::http::HttpRequestData;
using zeb::http::IdentityMatchModel;
using zeb::http::Request;

namespace {

/// One response, or several, line by line as libcurl passes them on: each to the callback, with its end of
/// line. The first byte says how redirects and identities stand.
void check(unsigned char settings, std::string_view text) {
    const auto request = std::make_shared<Request>("https://host.example/");
    request->getOptions()->followRedirects = (settings & 1) != 0;
    request->getOptions()->useProvidedIdentity = (settings & 2) != 0;
    request->getOptions()->identities = {"one.example"};
    request->getOptions()->certIdentityValidationModel =
        (settings & 4) != 0 ? IdentityMatchModel::STRICT_MATCH : IdentityMatchModel::SOFT_MATCH;
    HttpRequestData data(request, nullptr);
    std::size_t redirects = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        std::string line(text.substr(0, end));
        text.remove_prefix(end);
        const std::string before = line;
        const std::size_t headers = data.headers->size();
        const std::size_t taken = CurlHttpUtils::curlHeaderCallback(line.data(), 1, line.size(), &data);
        ZEB_REQUIRE(taken == line.size());
        ZEB_REQUIRE(line == before);
        ZEB_REQUIRE(data.headers->size() <= headers + 1);
        if (line.size() > 2 && line.substr(0, line.size() - 2).find(':') != std::string::npos) {
            ZEB_REQUIRE(data.headers->size() == headers + 1);
            ZEB_REQUIRE(data.headers->back().first == line.substr(0, line.find(':')));
            ZEB_REQUIRE(data.headers->back().second.size() < line.size());
        }
        ZEB_REQUIRE(data.redirectUrls->size() - redirects <= 1);
        redirects = data.redirectUrls->size();
    }
    request->cancel();
    std::string late = "Name: value\r\n";
    ZEB_REQUIRE(late.size() > 1 &&
                CurlHttpUtils::curlHeaderCallback(late.data(), 1, late.size(), &data) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    // The log's texts are built, too, and dropped.
    LogController::getInstance()->setLevel(ZEBLOG_TRACE);
    LogController::getInstance()->setSink([](const LogController::Record&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t ENOUGH = 1 << 16;  // below the bound on all headers
    if (size > 0) {
        check(data[0], {reinterpret_cast<const char*>(data) + 1, std::min(size - 1, ENOUGH)});
    }
    return 0;
}

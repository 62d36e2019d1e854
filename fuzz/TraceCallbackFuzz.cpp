#include "Require.h"
#include "http/CurlHttpUtils.h"
#include "http/HttpRequestData.h"
#include "http/Request.h"
#include "zeblogger/ZEBLogger.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

using zeb::http::CurlHttpUtils;
using zeb::http::CurlInfoType;
using zeb::http::HttpRequestData;
using zeb::http::Request;
using Phases = CurlHttpUtils::RequestPhase;

namespace {

constexpr std::string_view SECRET = "s3cr3t-us3r";
bool secretLogged = false;

void checkParsers(const std::string& text) {
    const auto partOf = [&text](const std::string& part) { return text.find(part) != std::string::npos; };
    ZEB_REQUIRE(partOf(zeb::http::getProxyAuthenticationTypeFromStr(text)));
    ZEB_REQUIRE(partOf(CurlHttpUtils::getSslVersion(text)));
    ZEB_REQUIRE(partOf(CurlHttpUtils::getCipherSuite(text)));
    const std::string address = CurlHttpUtils::normalizeIp(text);
    ZEB_REQUIRE(partOf(address));
    ZEB_REQUIRE(CurlHttpUtils::normalizeIp(address) == address);
    ZEB_REQUIRE(partOf(CurlHttpUtils::getResolvedIp(text)));
}

void checkPhase(CurlInfoType type, const std::string& text) {
    std::ostringstream printed;
    printed << type;
    ZEB_REQUIRE(!printed.str().empty());
    const Phases::Phase phase = CurlHttpUtils::matchPhase({type, text});
    ZEB_REQUIRE(phase >= 0 && phase <= Phases::NO_MATCH);
    if (type.value == 0 && phase != Phases::NO_MATCH) {
        ZEB_REQUIRE(text.find(CurlHttpUtils::getPhaseKey(phase)) != std::string::npos);
    }
}

void checkCallback(CurlInfoType type, std::string text) {
    HttpRequestData data(std::make_shared<Request>("https://host.example/"), nullptr);
    const std::string before = text;
    ZEB_REQUIRE(CurlHttpUtils::curlTraceCallback(nullptr, type.value, text.data(), text.size(), &data) == 0);
    ZEB_REQUIRE(text == before);
    ZEB_REQUIRE(before.find(data.proxyAuthType) != std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    LogController::getInstance()->setLevel(ZEBLOG_TRACE);
    LogController::getInstance()->setSink([](const LogController::Record& record) {
        secretLogged = secretLogged || record.message.find(SECRET) != std::string_view::npos;
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const CurlInfoType type{static_cast<int>(data[0] % 9) - 1};
    checkParsers(text);
    checkPhase(type, text);
    checkCallback(type, text);
    // Whatever libcurl says before and after it, a quoted name stays out of the log.
    secretLogged = false;
    checkCallback({0},
                  "Server auth using " + text.substr(0, text.find(SECRET)) + "'" + std::string(SECRET) + "'");
    checkCallback({0}, "Added cookie a=\"" + std::string(SECRET) + text + "\"");
    ZEB_REQUIRE(!secretLogged);
    return 0;
}

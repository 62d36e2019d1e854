#include "BasicHttpClientTestSupport.h"
#include "TransferFiles.h"
#include "http/MultiformPart.h"
#include "http/Proxy.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace zeb::http::test {
namespace {

struct Environment;

/// One row of the result table, by the failure that it stands for. (Of the codes that are missing here 58 and
/// most of the TLS group need client certificates or crypto engines, which no request can have; 60 needs a
/// certificate to refuse, which the tests in the lab show.)
struct Failure {
    const char* name;
    int code;
    HttpClientResult::Result result;
    /// Makes the request fail; whatever the failure needs lives in the environment.
    std::function<void(Environment&, Request&)> arrange;
};

struct Environment {
    LoopbackServer server{[this](const LoopbackServer::Request& request) {
        return reply ? reply(request) : Reply::response(200, "hello");
    }};
    LoopbackServer breaking{hello, [] {
                                LoopbackServer::Options options;
                                options.closeAfterReceiving = 5;
                                return options;
                            }()};
    LoopbackServer::Handler reply;
    RefusedPort refused;
    TestFolder folder;
};

/// A form is never released, deliberately: what it leaves behind is no leak of the test's.
class KnownLeaks {
public:
    KnownLeaks() {
#if defined(__SANITIZE_ADDRESS__)
        __lsan_disable();
#endif
    }
    ~KnownLeaks() {
#if defined(__SANITIZE_ADDRESS__)
        __lsan_enable();
#endif
    }
    KnownLeaks(const KnownLeaks&) = delete;
    KnownLeaks& operator=(const KnownLeaks&) = delete;
};

void setProxy(Request& request, const std::string& url, ProxyType::Type type = ProxyType::HTTP) {
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(url, type);
    request.setProxy(proxy);
}

class TransferResultTest : public testing::TestWithParam<Failure> {};

TEST_P(TransferResultTest, TheFailureHasItsResult) {
    Environment environment;
    const auto client = makeClient();
    const auto request = makeRequest(environment.server.url("/"));
    GetParam().arrange(environment, *request);
    Response response;
    LogCapture log;
    {
        const KnownLeaks form;
        EXPECT_EQ(client->execute(request, response), GetParam().result);
    }
    EXPECT_TRUE(log.contains("got curlCode=[" + std::to_string(GetParam().code) + "]")) << log.text();
    expectUsable(*client);
}

const Failure FAILURES[] = {
    {"None", 0, HttpClientResult::SUCCESS, [](Environment&, Request&) {}},
    {"UnknownScheme", 1, HttpClientResult::UNKNOWN_ERROR,
     [](Environment&, Request& request) { request.getOptions()->url = "nosuch://host/"; }},
    {"NoUrl", 3, HttpClientResult::URL_FORMAT_ERROR,
     [](Environment&, Request& request) { request.getOptions()->url = "http://"; }},
    {"ProxyUnresolved", 5, HttpClientResult::UNRESOLVED_PROXY_ERROR,
     [](Environment&, Request& request) { setProxy(request, "http://nosuch.invalid:3128"); }},
    {"HostUnresolved", 6, HttpClientResult::UNRESOLVED_HOST_ERROR,
     [](Environment&, Request& request) { request.getOptions()->url = "http://nosuch.invalid/"; }},
    {"HostRefuses", 7, HttpClientResult::HOST_UNREACHABLE_ERROR,
     [](Environment& environment, Request& request) {
         request.getOptions()->url = environment.refused.url("/");
     }},
    {"ProxyRefuses", 7, HttpClientResult::HOST_UNREACHABLE_ERROR,
     [](Environment& environment, Request& request) { setProxy(request, environment.refused.url("")); }},
    {"NoHttp", 1, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request&) {
         environment.reply = [](const LoopbackServer::Request&) {
             return Reply::bytes("SSH-2.0-server\r\n").thenClose();
         };
     }},
    {"Truncated", 18, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request&) {
         environment.reply = [](const LoopbackServer::Request&) {
             return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf").thenClose();
         };
     }},
    {"FormFileMissing", 26, HttpClientResult::READ_CALLBACK_ERROR,
     [](Environment& environment, Request& request) {
         request.getOptions()->method = HttpMethod::POST;
         request.getOptions()->multiformParts = {std::make_shared<MultiformPart>(
             MultiformPartType::FROM_FILE, "name", environment.folder.path("missing"), nullptr)};
     }},
    {"Silence", 28, HttpClientResult::CONNECTION_TIMEOUT_ERROR,
     [](Environment& environment, Request& request) {
         environment.reply = [](const LoopbackServer::Request&) { return Reply::silence(); };
         request.getOptions()->transferTimeout = 100;
     }},
    {"HandshakeBreaksOff", 35, HttpClientResult::SSL_CONNECTION_ERROR,
     [](Environment& environment, Request& request) {
         request.getOptions()->url = "https://" + environment.breaking.authority() + "/";
     }},
    {"FileMissing", 37, HttpClientResult::FILE_READ_ERROR,
     [](Environment& environment, Request& request) {
         request.getOptions()->url = "file://" + environment.folder.path("missing");
     }},
    {"Cancelled", 42, HttpClientResult::REQUEST_CANCELLED,
     [](Environment&, Request& request) { request.cancel(); }},
    {"TooManyRedirects", 47, HttpClientResult::TOO_MANY_REDIRECTS_ERROR,
     [](Environment& environment, Request&) {
         environment.reply = [](const LoopbackServer::Request&) {
             return Reply::response(302, "", {{"Location", "/"}});
         };
     }},
    {"NoAnswer", 52, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request&) {
         environment.reply = [](const LoopbackServer::Request&) { return Reply::close(); };
     }},
    {"Reset", 56, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request&) {
         environment.reply = [](const LoopbackServer::Request&) {
             return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf").thenReset();
         };
     }},
    {"ProxyRefusesTunnel", 56, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request& request) {
         environment.reply = [](const LoopbackServer::Request&) { return Reply::response(403, ""); };
         request.getOptions()->url = "https://inside.invalid/";
         setProxy(request, environment.server.url(""));
     }},
    {"SocksProxyThatIsNone", 97, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request& request) {
         setProxy(request, environment.breaking.authority(), ProxyType::SOCKS_5_HOSTNAME);
         request.getOptions()->transferTimeout = 2000;
     }},
};

INSTANTIATE_TEST_SUITE_P(Table, TransferResultTest, testing::ValuesIn(FAILURES),
                         [](const auto& param) { return std::string(param.param.name); });

}  // namespace
}  // namespace zeb::http::test

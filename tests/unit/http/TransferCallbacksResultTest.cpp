#include "BasicHttpClientTestSupport.h"
#include "http/MultiformPart.h"
#include "http/Proxy.h"
#include "support/CurlOptionSpy.h"
#include "support/Sockets.h"
#include "support/TestFiles.h"

#include <functional>
#include <netinet/in.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>

#include <curl/curl.h>
#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace zeb::http::test {
namespace {

using zeb::test::TestFolder;

struct Environment;

/// One row of the result table, by the failure that it stands for. Every code that a transfer can end with is
/// made by a real one; where that takes an option that no request has, the test adds it to the handle that
/// the library has configured. Missing are 23, which the tests of full disks show; 60, which needs a
/// certificate to refuse and is shown in the lab; 53, 54 and 66, which libcurl gives at the setting of a
/// crypto engine and no transfer ends with; and 80, which comes of the end of TLS within an FTP session
/// alone. Of these four only the table is tested.
struct Failure {
    const char* name;
    int code;
    HttpClientResult::Result result;
    /// Makes the request fail; whatever the failure needs lives in the environment.
    std::function<void(Environment&, Request&)> arrange;
};

/// A server that speaks first, and refuses whatever it is asked: POP 3 without anything.
class RefusingMailServer {
public:
    RefusingMailServer()
        : listener_(zeb::test::listeningSocket(5)), thread_([this] {
              pollfd watched{listener_.get(), POLLIN, 0};
              ::poll(&watched, 1, PATIENCE_MS);
              const zeb::test::Descriptor client(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
              std::string answer = "+OK\r\n";
              char block[512];
              do {
                  ::send(client.get(), answer.data(), answer.size(), MSG_NOSIGNAL);
                  answer = "-ERR\r\n";
              } while (::recv(client.get(), block, sizeof block, 0) > 0);
          }) {}
    ~RefusingMailServer() { thread_.join(); }

    std::string url() const {
        return "pop3://127.0.0.1:" + std::to_string(zeb::test::portOf(listener_.get())) + "/1";
    }

private:
    static constexpr int PATIENCE_MS = 10000;
    const zeb::test::Descriptor listener_;
    std::thread thread_;
};

/// A server for trivial file transfers (RFC 1350) whose disk is full.
class FullTftpServer {
public:
    FullTftpServer() : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        thread_ = std::thread([this] {
            pollfd watched{socket_.get(), POLLIN, 0};
            ::poll(&watched, 1, PATIENCE_MS);
            char block[512];
            sockaddr_in client{};
            socklen_t size = sizeof client;
            ::recvfrom(socket_.get(), block, sizeof block, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&client),
                       &size);
            const std::string error("\0\5\0\3full", 9);
            ::sendto(socket_.get(), error.data(), error.size(), 0, reinterpret_cast<sockaddr*>(&client),
                     size);
        });
    }
    ~FullTftpServer() { thread_.join(); }

    std::string url() const {
        return "tftp://127.0.0.1:" + std::to_string(zeb::test::portOf(socket_.get())) + "/file";
    }

private:
    static constexpr int PATIENCE_MS = 10000;
    const zeb::test::Descriptor socket_;
    std::thread thread_;
};

struct Environment {
    std::optional<zeb::test::CurlOptionSpy> spy{std::in_place};
    std::optional<RefusingMailServer> mail;
    std::optional<FullTftpServer> tftp;
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
    environment.spy.reset();
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
    {"CertificateOfOursMissing", 58, HttpClientResult::CLIENT_CERTIFICATE_ERROR,
     [](Environment& environment, Request& request) {
         environment.spy->addText(CURLOPT_SSLCERT, environment.folder.path("missing"));
         request.getOptions()->url = "https://" + environment.server.authority() + "/";
     }},
    {"NoSuchCipher", 59, HttpClientResult::SSL_CONNECTION_ERROR,
     [](Environment& environment, Request& request) {
         environment.spy->addText(CURLOPT_SSL_CIPHER_LIST, "nosuch");
         request.getOptions()->url = "https://" + environment.server.authority() + "/";
     }},
    {"NoTlsWhereItMustBe", 64, HttpClientResult::SSL_CONNECTION_ERROR,
     [](Environment& environment, Request& request) {
         environment.spy->addNumber(CURLOPT_USE_SSL, CURLUSESSL_ALL);
         request.getOptions()->url = environment.mail.emplace().url();
     }},
    {"RemoteDiskFull", 70, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request& request) {
         environment.spy->addNumber(CURLOPT_UPLOAD, 1);
         request.getOptions()->url = environment.tftp.emplace().url();
     }},
    {"AuthoritiesMissing", 77, HttpClientResult::UNKNOWN_ERROR,
     [](Environment& environment, Request& request) {
         environment.spy->addText(CURLOPT_CAINFO, environment.folder.path("missing"));
         request.getOptions()->url = "https://" + environment.server.authority() + "/";
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

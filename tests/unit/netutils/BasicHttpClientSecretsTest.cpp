#include "RawAllocator.h"
#include "core/SecureStringUtils.h"
#include "http/BasicHttpClient.h"
#include "http/Credentials.h"
#include "http/HttpRequestOptions.h"
#include "http/Proxy.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/LibCurlMemoryManager.h"
#include "netutils/NetUtilsFactory.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"
#include "support/MemoryScan.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using http::AuthType;
using http::Request;
using zeb::test::LogCapture;
using zeb::test::LoopbackServer;
using zeb::test::PlantedSecret;
using zeb::test::RefusedPort;

constexpr char PASSWORD[] = "the-password-that-nobody-else-has-0123456789-abcdef";
constexpr char TOKEN[] = "the-token-that-nobody-else-has-9876543210-fedcba-xyz";
/// "user:" and the password, in Base64: as good as the password.
constexpr char ENCODED[] = "dXNlcjp0aGUtcGFzc3dvcmQtdGhhdC1ub2JvZHktZWxzZS1oYXMtMDEyMzQ1Njc4OS1hYmNkZWY=";

LoopbackServer::Reply hello(const LoopbackServer::Request&) {
    return LoopbackServer::Reply::response(200, "hello");
}

std::shared_ptr<Request> requestWith(const std::string& url, AuthType authType, const SecureString& password,
                                     const SecureString& token) {
    auto request = std::make_shared<Request>(url);
    request->getOptions()->authType = authType;
    request->getOptions()->credentials =
        std::make_shared<http::Credentials>(http::Credentials{"user", password, token});
    return request;
}

std::shared_ptr<Request> requestWith(const std::string& url, AuthType authType) {
    return requestWith(url, authType, SecureString(PASSWORD), SecureString(TOKEN));
}

std::shared_ptr<Request> requestThrough(const std::string& proxyUrl, const SecureString& password) {
    const auto proxy = std::make_shared<http::Proxy>();
    proxy->setProxyServer(proxyUrl, http::ProxyType::HTTP);
    proxy->setAuthentication("user", password, http::ProxyAuthentication::BASIC);
    auto request = std::make_shared<Request>("http://inside.invalid/");
    request->setProxy(proxy);
    return request;
}

/// Starts libcurl with the hooks. False when a test of before has ended it, for good, in this process.
bool startWithHooks() {
    EXPECT_EQ(GlobalInit(), 0);
    const std::uint64_t before = libcurl_bytes_in_use();
    const auto client = NetUtilsFactory().createBasicHttpClient();
    return libcurl_bytes_in_use() > before;
}

// --- what libcurl gives back

class BasicHttpClientSecretsTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!startWithHooks()) {
            GTEST_SKIP() << "libcurl has been ended in this process";
        }
        client_ = NetUtilsFactory().createBasicHttpClient();
        RawAllocator::watchReleasesFor(GetParam());
    }
    ~BasicHttpClientSecretsTest() override { RawAllocator::watchReleasesFor(nullptr); }

    void execute(const std::shared_ptr<Request>& request) {
        http::Response response;
        client_->execute(request, response);
    }
    /// The client, and with it all that libcurl holds, goes.
    void expectNothingLeft() {
        client_.reset();
        EXPECT_GT(RawAllocator::releasesSeen(), 0);
        EXPECT_EQ(RawAllocator::releasesWithText(), 0);
    }

    LoopbackServer server_{hello};
    std::shared_ptr<http::BasicHttpClient> client_;
};

TEST_P(BasicHttpClientSecretsTest, TheWatchSeesASecretThatIsReleasedInClear) {
    std::free(strdup(GetParam()));
    EXPECT_EQ(RawAllocator::releasesWithText(), 1);
}

TEST_P(BasicHttpClientSecretsTest, NoneIsInABlockThatIsReleasedAfterCompletedRequests) {
    for (const AuthType type : {AuthType::BASIC, AuthType::OAUTH, AuthType::NTLM}) {
        execute(requestWith(server_.url("/"), type));
    }
    ASSERT_EQ(server_.requests().size(), 3U);
    EXPECT_EQ(server_.requests().at(0).header("Authorization"), std::string("Basic ") + ENCODED);
    EXPECT_EQ(server_.requests().at(1).header("Authorization"), std::string("Bearer ") + TOKEN);
    expectNothingLeft();
}

TEST_P(BasicHttpClientSecretsTest, NoneIsInABlockThatIsReleasedAfterFailedRequests) {
    const RefusedPort refused;
    LoopbackServer closing([](const LoopbackServer::Request&) { return LoopbackServer::Reply::close(); });
    LogCapture log;
    for (const AuthType type : {AuthType::BASIC, AuthType::OAUTH, AuthType::NTLM}) {
        execute(requestWith(refused.url("/"), type));
        execute(requestWith(closing.url("/"), type));
    }
    EXPECT_FALSE(log.contains(GetParam()));
    expectNothingLeft();
}

TEST_P(BasicHttpClientSecretsTest, NoneIsInABlockThatIsReleasedAfterAProxyWasGivenIt) {
    execute(requestThrough(server_.authority(), SecureString(PASSWORD)));
    EXPECT_EQ(server_.requests().at(0).header("Proxy-Authorization"), std::string("Basic ") + ENCODED);
    expectNothingLeft();
}

TEST_P(BasicHttpClientSecretsTest, NoneIsInABlockThatIsReleasedAfterItCameAsTheBody) {
    LoopbackServer telling([](const LoopbackServer::Request&) {
        return LoopbackServer::Reply::response(200, GetParam(),
                                               {{"Set-Cookie", std::string("k=") + GetParam()}});
    });
    const auto request = std::make_shared<Request>(telling.url("/"));
    request->getOptions()->method = http::HttpMethod::POST;
    request->getOptions()->body = SecureString(GetParam());
    execute(request);
    EXPECT_EQ(telling.requests().at(0).body, GetParam());
    expectNothingLeft();
}

INSTANTIATE_TEST_SUITE_P(Secrets, BasicHttpClientSecretsTest, testing::Values(PASSWORD, TOKEN, ENCODED),
                         [](const auto& information) {
                             return std::string(information.param == PASSWORD ? "Password"
                                                : information.param == TOKEN  ? "Token"
                                                                              : "EncodedPassword");
                         });

// --- what stays in memory

/// An HTTP server in a process of its own, so that what it receives is not in this one's memory.
class ServerProcess {
public:
    ServerProcess() : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (bind(socket_, generic, size) != 0 || listen(socket_, 8) != 0 ||
            getsockname(socket_, generic, &size) != 0) {
            std::abort();
        }
        port_ = ntohs(address.sin_port);
        process_ = fork();
        if (process_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;) {
                serve(accept(socket_, nullptr, nullptr));
            }
        }
    }
    ~ServerProcess() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        close(socket_);
    }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

private:
    /// One request, whose body, if it has one, is short enough to come with its head. Only calls that a
    /// forked child may make.
    static void serve(int connection) {
        static constexpr char ANSWER[] = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello";
        static char buffer[4096];
        static std::size_t length;
        length = 0;
        ssize_t count = 0;
        while (length < sizeof buffer &&
               (count = read(connection, buffer + length, sizeof buffer - length)) > 0) {
            length += static_cast<std::size_t>(count);
            if (memmem(buffer, length, "\r\n\r\n", 4) != nullptr) {
                break;
            }
        }
        (void)!write(connection, ANSWER, sizeof ANSWER - 1);
        shutdown(connection, SHUT_WR);
        close(connection);
    }

    const int socket_;
    int port_ = 0;
    pid_t process_ = 0;
};

SecureString secure(const PlantedSecret& secret) {
    std::string clear(secret.size(), '\0');
    secret.copyTo(clear.data());
    SecureString result(clear.data(), clear.size());
    SecureStringUtils::ZEBZeroString(clear);
    return result;
}

class BasicHttpClientMemoryTest : public testing::Test {
protected:
    void SetUp() override {
        if (!startWithHooks()) {
            GTEST_SKIP() << "libcurl has been ended in this process";
        }
        client_ = NetUtilsFactory().createBasicHttpClient();
    }

    void execute(AuthType authType) {
        execute(requestWith(server_.url(), authType, secure(password_), secure(token_)));
    }
    void execute(const std::shared_ptr<Request>& request) {
        zeb::test::wipeDeadStack();
        ASSERT_EQ(countInOwnMemory(password_) + countInOwnMemory(token_), 0U) << "the test leaves a copy";
        for (int round = 0; round < 2; ++round) {
            http::Response response;
            EXPECT_EQ(client_->execute(request, response), http::HttpClientResult::SUCCESS);
            EXPECT_EQ(response.body, "hello");
        }
        zeb::test::wipeDeadStack();
    }

    const ServerProcess server_;
    std::shared_ptr<http::BasicHttpClient> client_;
    const PlantedSecret password_;
    const PlantedSecret token_;
};

TEST_F(BasicHttpClientMemoryTest, OfATokenNoCopyIsLeftOnceTheRequestIsAnswered) {
    execute(AuthType::OAUTH);
    EXPECT_EQ(countInOwnMemory(token_), 0U);
    EXPECT_EQ(countInOwnMemory(password_), 0U);
}

TEST_F(BasicHttpClientMemoryTest, OfAPasswordNoCopyIsLeftOnceTheConnectionIsClosed) {
    execute(AuthType::BASIC);
    // Until then libcurl keeps it with the open connection.
    client_.reset();
    EXPECT_EQ(countInOwnMemory(password_), 0U);
    EXPECT_EQ(countInOwnMemory(token_), 0U);
}

TEST_F(BasicHttpClientMemoryTest, OfATokenThatMakesALongLineNoCopyIsLeftOnceTheRequestIsAnswered) {
    const PlantedSecret token(600);
    execute(requestWith(server_.url(), AuthType::OAUTH, secure(password_), secure(token)));
    EXPECT_EQ(countInOwnMemory(token), 0U);
}

TEST_F(BasicHttpClientMemoryTest, OfAProxysPasswordNoCopyIsLeftOnceTheConnectionIsClosed) {
    execute(requestThrough(server_.url(), secure(password_)));
    client_.reset();
    EXPECT_EQ(countInOwnMemory(password_), 0U);
}

TEST_F(BasicHttpClientMemoryTest, OfABodyNoCopyIsLeftOnceTheRequestIsAnswered) {
    const auto request = std::make_shared<Request>(server_.url());
    request->getOptions()->method = http::HttpMethod::POST;
    request->getOptions()->body = secure(password_);
    execute(request);
    EXPECT_EQ(countInOwnMemory(password_), 0U);
}

class BasicHttpClientCookieMemoryTest : public BasicHttpClientMemoryTest,
                                        public testing::WithParamInterface<bool> {};

TEST_P(BasicHttpClientCookieMemoryTest, NoCopyIsLeftOnceTheClientHasGone) {
    const auto request = std::make_shared<Request>(server_.url());
    request->getOptions()->setCookieMandatory(GetParam());
    for (const bool sound : {true, false}) {  // one that breaks its line is left out
        std::string raw = "127.0.0.1\tFALSE\t/\tFALSE\t0\tname\t";
        raw.reserve(raw.size() + password_.size() + 1);
        const std::size_t start = raw.size();
        raw.append(password_.size(), '\0');
        password_.copyTo(&raw[start]);
        raw += sound ? "" : "\n";
        request->getOptions()->cookies.emplace_back(raw);
        SecureStringUtils::ZEBZeroString(raw);
    }
    execute(request);
    client_.reset();
    zeb::test::wipeDeadStack();
    EXPECT_EQ(countInOwnMemory(password_), 0U);
}

INSTANTIATE_TEST_SUITE_P(Cookies, BasicHttpClientCookieMemoryTest, testing::Bool(),
                         [](const auto& mandatory) { return mandatory.param ? "Mandatory" : "OfTheEngine"; });

}  // namespace
}  // namespace zeb::netutils::test

#include "BasicHttpClientTestSupport.h"
#include "http/Proxy.h"

#include <string>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

/// What a server may do to a client with header lines. Where libcurl's own behaviour decides, that is 7.88 as
/// Debian 12 patches it; what matters here is that the memory stays bounded.
class TransferHeaderLimitsTest : public testing::Test {
protected:
    HttpClientResult::Result get(const std::string& head) {
        LoopbackServer server(
            [head](const LoopbackServer::Request&) { return Reply::bytes(head).thenClose(); });
        response_ = Response();
        return client_->execute(makeRequest(server.url("/")), response_);
    }
    std::size_t headerBytes() const {
        std::size_t bytes = 0;
        for (const HttpHeader& header : *response_.headers) {
            bytes += header.first.size() + header.second.size();
        }
        return bytes;
    }
    static std::string lines(std::size_t bytes) {
        const std::string line = "X-Filler: " + std::string(988, 'x') + "\r\n";
        std::string all;
        while (all.size() < bytes) {
            all += line;
        }
        return all;
    }

    std::shared_ptr<BasicHttpClientImpl> client_ = makeClient();
    Response response_;
};

const std::string OK = "HTTP/1.1 200 OK\r\n";
const std::string END = "Content-Length: 2\r\n\r\nok";

TEST_F(TransferHeaderLimitsTest, HeadersOf256KiBArrive) {
    EXPECT_EQ(get(OK + lines(256 << 10) + END), HttpClientResult::SUCCESS);
    EXPECT_GE(headerBytes(), 250U << 10);
    EXPECT_EQ(response_.body, "ok");
}

TEST_F(TransferHeaderLimitsTest, AMegabyteOfHeadersEndsTheTransferAt300KiB) {
    EXPECT_EQ(get(OK + lines(1 << 20) + END), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_LE(headerBytes(), 300U << 10);
}

TEST_F(TransferHeaderLimitsTest, EndlessHeadersEndTheTransfer) {
    EXPECT_EQ(get(OK + lines(8 << 20)), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_LE(headerBytes(), 300U << 10);
}

TEST_F(TransferHeaderLimitsTest, OneLineOf90KiBArrives) {
    EXPECT_EQ(get(OK + "X-Long: " + std::string(90 << 10, 'x') + "\r\n" + END), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.getHeader("X-Long").size(), 90U << 10);
}

TEST_F(TransferHeaderLimitsTest, OneLineOfAMegabyteEndsTheTransfer) {
    EXPECT_EQ(get(OK + "X-Long: " + std::string(1 << 20, 'x') + "\r\n" + END),
              HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(headerBytes(), 0U);
}

TEST_F(TransferHeaderLimitsTest, EndlessInterimAnswersEndTheTransfer) {
    std::string head;
    while (head.size() < 8 << 20) {
        head += "HTTP/1.1 103 Early Hints\r\nLocation: /x\r\n" + lines(1000) + "\r\n";
    }
    EXPECT_EQ(get(head), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_LE(response_.redirectUrls->size(), 400U);
}

TEST_F(TransferHeaderLimitsTest, EndlessTrailersEndTheTransferAtAMegabyte) {
    // libcurl doesn't bound these: it is the header callback that aborts, and that has no other result.
    LogCapture log;
    EXPECT_EQ(get(OK + "Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n" + lines(8 << 20)),
              HttpClientResult::FILE_WRITE_ERROR);
    EXPECT_GT(headerBytes(), 1000U << 10);
    EXPECT_LE(headerBytes(), 1U << 20);
    EXPECT_TRUE(log.contains(" are too large, aborting transfer."));
}

TEST_F(TransferHeaderLimitsTest, AnotherAttemptMayHaveAsManyHeaders) {
    const std::string trailers = OK + "Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\n" + lines(900 << 10);
    EXPECT_EQ(get(trailers + "\r\n"), HttpClientResult::SUCCESS);
    LoopbackServer breaking(
        [&](const LoopbackServer::Request&) { return Reply::bytes(trailers + lines(1 << 20)); });
    LoopbackServer good([&](const LoopbackServer::Request&) { return Reply::bytes(trailers + "\r\n"); });
    const auto request = makeRequest(breaking.url("/"));
    request->getOptions()->failoverUrls = {good.url("/")};
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, "ok");
}

TEST_F(TransferHeaderLimitsTest, AProxysEndlessHeadersEndTheTransfer) {
    const std::string head = OK + lines(8 << 20);
    LoopbackServer server([head](const LoopbackServer::Request&) { return Reply::bytes(head); });
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(server.url(""), ProxyType::HTTP);
    const auto request = makeRequest("https://inside.invalid/");
    request->setProxy(proxy);
    EXPECT_EQ(client_->execute(request, response_), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_LE(headerBytes(), 300U << 10);
}

TEST_F(TransferHeaderLimitsTest, TrailersCountAsHeaders) {
    EXPECT_EQ(get(OK + "Transfer-Encoding: chunked\r\n\r\n2\r\nok\r\n0\r\nX-Trailer: late\r\n\r\n"),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.getHeader("X-Trailer"), "late");
}

// --- malformed lines, as a server sends them

TEST_F(TransferHeaderLimitsTest, ALineWithoutColonEndsTheTransfer) {
    EXPECT_EQ(get(OK + "Server: x\r\nno colon at all\r\n" + END), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(response_.headers->size(), 1U);
    EXPECT_EQ(response_.body, "");
}

TEST_F(TransferHeaderLimitsTest, ANulByteEndsTheTransfer) {
    EXPECT_EQ(get(OK + std::string("X-Nul: a\0b\r\n", 12) + END), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_TRUE(response_.headers->empty());
}

TEST_F(TransferHeaderLimitsTest, LinesThatEndInALineFeedAloneLoseACharacter) {
    // Deliberate: the last two bytes of a line go, whatever they are.
    EXPECT_EQ(get("HTTP/1.1 200 OK\nServer: abc\nContent-Length: 2\n\nok"), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.getHeader("Server"), "ab");
    EXPECT_EQ(response_.body, "ok") << "libcurl itself has read the length right";
}

TEST_F(TransferHeaderLimitsTest, AFoldedLineIsNotJoined) {
    EXPECT_EQ(get(OK + "X-Folded: one\r\n two\r\n three: four\r\n" + END), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.getHeader("X-Folded"), "one");
    EXPECT_EQ(response_.getHeader(" three"), "four");
}

TEST_F(TransferHeaderLimitsTest, AnAnswerThatIsNoHttpEndsTheTransfer) {
    EXPECT_EQ(get("SSH-2.0-server\r\n"), HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(get("\r\n\r\n"), HttpClientResult::UNKNOWN_ERROR);
}

// --- chains

TEST_F(TransferHeaderLimitsTest, AChainOfTwoHopsLeavesTheLastHeadersAndBothRedirects) {
    LoopbackServer server([](const LoopbackServer::Request& request) {
        if (request.target == "/2") {
            return Reply::response(200, "there", {{"X-Last", "yes"}});
        }
        return Reply::response(302, "", {{"Location", request.target == "/" ? "/1" : "/2"}, {"X-Hop", "y"}});
    });
    EXPECT_EQ(client_->execute(makeRequest(server.url("/")), response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(*response_.redirectUrls, (std::vector<std::string>{"/1", "/2"}));
    EXPECT_EQ(response_.getHeader("X-Last"), "yes");
    EXPECT_EQ(response_.getHeader("X-Hop"), "");
    EXPECT_EQ(response_.getHeader("Location"), "");
    EXPECT_EQ(response_.body, "there");
}

TEST_F(TransferHeaderLimitsTest, FiveRedirectsAreFollowedAndTheSixthIsOneTooMany) {
    LoopbackServer server([](const LoopbackServer::Request& request) {
        const int hop = std::stoi(request.target.substr(1));
        return hop == 0 ? Reply::response(200, "there")
                        : Reply::response(302, "", {{"Location", "/" + std::to_string(hop - 1)}});
    });
    EXPECT_EQ(client_->execute(makeRequest(server.url("/5")), response_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.redirectUrls->size(), 5U);
    EXPECT_EQ(client_->execute(makeRequest(server.url("/6")), response_),
              HttpClientResult::TOO_MANY_REDIRECTS_ERROR);
    EXPECT_EQ(response_.redirectUrls->size(), 6U);
}

}  // namespace
}  // namespace zeb::http::test

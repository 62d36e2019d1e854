#include "http/CurlHeaders.h"
#include "support/LogCapture.h"
#include "unit/http/CurlSeam.h"

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using zeb::test::LogCapture;

std::vector<std::string> linesOf(const CurlHeaders& headers) {
    std::vector<std::string> lines;
    for (const curl_slist* entry = headers.getCurlHeaderList(); entry != nullptr; entry = entry->next) {
        lines.emplace_back(entry->data);
    }
    return lines;
}

std::shared_ptr<HttpHeaders> vectorOf(const HttpHeaders& headers) {
    return std::make_shared<HttpHeaders>(headers);
}

TEST(CurlHeadersTest, OfNullIsAnEmptyList) {
    EXPECT_EQ(nullptr, CurlHeaders(nullptr).getCurlHeaderList());
}

TEST(CurlHeadersTest, OfAnEmptyVectorIsAnEmptyList) {
    EXPECT_EQ(nullptr, CurlHeaders(vectorOf({})).getCurlHeaderList());
}

TEST(CurlHeadersTest, EachPairIsOneLineInOrder) {
    const CurlHeaders headers(vectorOf({{"B", "2"}, {"A", "1"}, {"B", "2"}, {"Empty", ""}}));
    EXPECT_THAT(linesOf(headers), ElementsAre("B: 2", "A: 1", "B: 2", "Empty: "));
}

TEST(CurlHeadersTest, ALineIsBuiltIntoAtLeast512Bytes) {
    std::string line;
    CurlHeaders::buildHeader({"Name", "value"}, line);
    EXPECT_EQ("Name: value", line);
    EXPECT_GE(line.capacity(), 512U);
}

TEST(CurlHeadersTest, ALineIsAppendedToWhatIsThere) {
    std::string line = "before ";
    CurlHeaders::buildHeader({"Name", "value"}, line);
    EXPECT_EQ("before Name: value", line);
}

TEST(CurlHeadersTest, ALongLineIsWhole) {
    const std::string value(100000, 'v');
    const CurlHeaders headers(vectorOf({{"Name", value}}));
    EXPECT_THAT(linesOf(headers), ElementsAre("Name: " + value));
}

TEST(CurlHeadersTest, ALineOfAnyLengthAboutTheUsualOneIsWhole) {
    for (std::size_t length = 500; length < 520; ++length) {
        const std::string value(length, 'v');
        CurlHeaders headers(vectorOf({{"Name", value}}));
        headers.appendHeader({"Other", value});
        EXPECT_THAT(linesOf(headers), ElementsAre("Name: " + value, "Other: " + value)) << length;
    }
}

TEST(CurlHeadersTest, EveryTextIsOverwrittenWithZerosBeforeItIsFreed) {
    const FreedSlists freed;
    {
        CurlHeaders headers(vectorOf({{"Authorization", "Bearer secret"}, {"A", ""}}));
        headers.appendHeader({"Cookie", "secret"});
        headers.appendHeaderForSNI("Host", "https://host:8443/", true);
    }
    EXPECT_THAT(freed.entries(), ElementsAre(std::string(sizeof "Authorization: Bearer secret" - 1, '\0'),
                                             std::string(sizeof "A: " - 1, '\0'),
                                             std::string(sizeof "Cookie: secret" - 1, '\0'),
                                             std::string(sizeof "Host: host:8443" - 1, '\0')));
}

TEST(CurlHeadersTest, AFailedAppendIsLoggedWithItsIndexAndTheListStartsAnewWithTheNext) {
    const LogCapture log;
    const FreedSlists freed;
    const FailingSlistAppend failing(1);
    const CurlHeaders headers(vectorOf({{"First", "1"}, {"Second", "2"}, {"Third", "3"}}));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "Fail to append header to list, header index: 1"));
    EXPECT_EQ(1U, log.count("Fail to append header"));
    EXPECT_THAT(linesOf(headers), ElementsAre("Third: 3"));
    EXPECT_THAT(freed.entries(), ElementsAre(std::string(sizeof "First: 1" - 1, '\0')));
}

TEST(CurlHeadersTest, AFailureOfTheLastAppendLeavesAnEmptyList) {
    const FailingSlistAppend failing(0);
    EXPECT_EQ(nullptr, CurlHeaders(vectorOf({{"Name", "value"}})).getCurlHeaderList());
}

// The header for SNI

TEST(CurlHeadersTest, TheHeaderForSniHoldsTheHostOfTheUrl) {
    CurlHeaders headers(vectorOf({{"A", "1"}}));
    headers.appendHeaderForSNI("Host", "https://edge.example.com/x", true);
    EXPECT_THAT(linesOf(headers), ElementsAre("A: 1", "Host: edge.example.com"));
}

TEST(CurlHeadersTest, TheHeaderForSniHoldsThePortOfTheUrl) {
    CurlHeaders headers(nullptr);
    headers.appendHeaderForSNI("X-Name", "https://edge.example.com:8443/x", true);
    EXPECT_THAT(linesOf(headers), ElementsAre("X-Name: edge.example.com:8443"));
}

TEST(CurlHeadersTest, APortOfZeroIsNotPartOfTheHeaderForSni) {
    CurlHeaders headers(nullptr);
    headers.appendHeaderForSNI("Host", "https://edge.example.com:0/x", true);
    EXPECT_THAT(linesOf(headers), ElementsAre("Host: edge.example.com"));
}

TEST(CurlHeadersTest, TheHeaderForSniIsForEdgeRequestsWithNameAndUrlOnly) {
    CurlHeaders headers(nullptr);
    headers.appendHeaderForSNI("Host", "https://host/", false);
    headers.appendHeaderForSNI("", "https://host/", true);
    headers.appendHeaderForSNI("Host", "", true);
    EXPECT_THAT(linesOf(headers), IsEmpty());
}

TEST(CurlHeadersTest, AFailedHeaderForSniIsLoggedAndLeavesTheOthers) {
    CurlHeaders headers(vectorOf({{"A", "1"}}));
    const LogCapture log;
    const FailingSlistAppend failing(0);
    headers.appendHeaderForSNI("Host", "https://host/", true);
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "Fail to append header to list, header info: "));
    EXPECT_THAT(linesOf(headers), ElementsAre("A: 1"));
}

}  // namespace
}  // namespace zeb::http::test

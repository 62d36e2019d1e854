#include "http/Response.h"

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::SizeIs;

TEST(ResponseTest, KnowsNothingAtFirst) {
    const Response response;
    EXPECT_EQ(0, response.responseCode);
    EXPECT_EQ(0, response.connectCode);
    ASSERT_THAT(response.redirectUrls, NotNull());
    EXPECT_THAT(*response.redirectUrls, IsEmpty());
    ASSERT_THAT(response.headers, NotNull());
    EXPECT_THAT(*response.headers, IsEmpty());
    EXPECT_THAT(response.cookies, IsEmpty());
    EXPECT_EQ("", response.body);
    EXPECT_EQ("", response.transformedUrl);
    EXPECT_TRUE(response.localIpAddress.isEmpty());
    EXPECT_TRUE(response.destinationIpAddress.isEmpty());
    EXPECT_FALSE(response.proxyUsed);
    EXPECT_EQ("", response.proxyAuthType);
}

TEST(ResponseTest, FindsALowerCaseNameForAStoredMixedCaseOne) {
    Response response;
    response.headers->emplace_back("Content-Type", "text/plain");
    EXPECT_EQ("text/plain", response.getHeader("content-type"));
    EXPECT_EQ("text/plain", response.getHeader("CONTENT-TYPE"));
    EXPECT_EQ("text/plain", response.getHeader("Content-Type"));
}

TEST(ResponseTest, OfTwoEqualNamesTheFirstIsFound) {
    Response response;
    *response.headers = {{"Other", "0"}, {"NAME", "1"}, {"name", "2"}};
    EXPECT_EQ("1", response.getHeader("name"));
}

TEST(ResponseTest, AnAbsentHeaderIsEmpty) {
    Response response;
    EXPECT_EQ("", response.getHeader("Name"));
    response.headers->emplace_back("Name", "value");
    EXPECT_EQ("", response.getHeader("Nam"));
    EXPECT_EQ("", response.getHeader("Names"));
    EXPECT_EQ("", response.getHeader(""));
}

TEST(ResponseTest, AResponseWithoutHeaderVectorHasNoHeader) {
    Response response;
    response.headers = nullptr;
    EXPECT_EQ("", response.getHeader("Name"));
}

TEST(ResponseTest, AnAssignedResponseHasEveryFieldAndSharesTheTwoVectors) {
    Response source;
    source.responseCode = 200;
    source.connectCode = 407;
    source.redirectUrls->emplace_back("https://next/");
    source.headers->emplace_back("Name", "value");
    source.cookies.emplace_back("host\tTRUE\t/\tTRUE\t0\tname\tvalue");
    source.body = "body";
    source.transformedUrl = "https://edge/";
    source.localIpAddress = ip::IpAddress::createIpAddress("10.0.0.1");
    source.destinationIpAddress = ip::IpAddress::createIpAddress("10.0.0.2");
    source.proxyUsed = true;
    source.proxyAuthType = "NTLM";

    Response target;
    target.redirectUrls->emplace_back("https://former/");
    target = source;

    EXPECT_EQ(200, target.responseCode);
    EXPECT_EQ(407, target.connectCode);
    EXPECT_EQ(source.redirectUrls, target.redirectUrls);
    EXPECT_EQ(source.headers, target.headers);
    ASSERT_THAT(target.cookies, SizeIs(1));
    EXPECT_EQ("name", target.cookies[0].getName());
    EXPECT_EQ("body", target.body);
    EXPECT_EQ("https://edge/", target.transformedUrl);
    EXPECT_EQ("10.0.0.1", target.localIpAddress.getAddress());
    EXPECT_EQ("10.0.0.2", target.destinationIpAddress.getAddress());
    EXPECT_TRUE(target.proxyUsed);
    EXPECT_EQ("NTLM", target.proxyAuthType);

    source.redirectUrls->emplace_back("https://further/");
    EXPECT_THAT(*target.redirectUrls, ElementsAre("https://next/", "https://further/"));
}

}  // namespace
}  // namespace zeb::http::test

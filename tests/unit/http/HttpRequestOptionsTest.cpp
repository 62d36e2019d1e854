#include "http/HttpRequestOptions.h"

#include <sstream>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::IsEmpty;
using ::testing::NotNull;

TEST(HttpRequestOptionsTest, OnlyTheUrlIsSetAtFirst) {
    const HttpRequestOptions options("https://host/");
    EXPECT_EQ("https://host/", options.url);
    EXPECT_THAT(options.failoverUrls, IsEmpty());
    EXPECT_TRUE(options.body.empty());
    EXPECT_TRUE(options.binaryBody.empty());
    EXPECT_EQ(0, options.numRetries);
    EXPECT_TRUE(options.followRedirects);
    EXPECT_EQ(0L, options.transferTimeout);
    EXPECT_EQ(0L, options.lowSpeedTimeout);
    EXPECT_EQ(0L, options.connectionTimeout);
    EXPECT_EQ(HttpMethod::GET, options.method);
    EXPECT_THAT(options.cookies, IsEmpty());
    EXPECT_FALSE(options.cookieMandatory);
    EXPECT_EQ(nullptr, options.credentials);
    EXPECT_FALSE(options.useProvidedIdentity);
    EXPECT_THAT(options.identities, IsEmpty());
    EXPECT_EQ("", options.identifierToDisplay);
    EXPECT_EQ(AuthType::NONE, options.authType);
    EXPECT_THAT(options.multiformParts, IsEmpty());
    EXPECT_EQ(IdentityMatchModel::SOFT_MATCH, options.certIdentityValidationModel);
    EXPECT_EQ(7L, options.acceptableTlsVersions);
    EXPECT_EQ(0L, options.loggingOptions);
    EXPECT_FALSE(options.forbidReuse);
    EXPECT_FALSE(options.edgeRequest);
}

TEST(HttpRequestOptionsTest, TheHeadersAreAnEmptyVectorAndNeverNull) {
    const HttpRequestOptions options("");
    ASSERT_THAT(options.headers, NotNull());
    EXPECT_THAT(*options.headers, IsEmpty());
}

TEST(HttpRequestOptionsTest, EachObjectHasHeadersOfItsOwn) {
    EXPECT_NE(HttpRequestOptions("").headers, HttpRequestOptions("").headers);
}

TEST(HttpRequestOptionsTest, MethodAndAuthenticationTakeThirtyTwoBits) {
    EXPECT_EQ(4U, sizeof(HttpRequestOptions::method));
    EXPECT_EQ(4U, sizeof(HttpRequestOptions::authType));
}

TEST(HttpRequestOptionsTest, EveryMethodHasItsNameAndAnyOtherNumberIsUnknown) {
    const char* const names[] = {"GET", "POST", "PUT", "DELETE", "OPTIONS", "unknown", "unknown"};
    HttpRequestOptions options("");
    for (std::uint32_t number = 0; number < std::size(names); ++number) {
        options.method = static_cast<HttpMethod>(number);
        EXPECT_EQ(names[number], options.methodName()) << number;
    }
    options.method = static_cast<HttpMethod>(0xFFFFFFFFU);
    EXPECT_EQ("unknown", options.methodName());
}

TEST(HttpRequestOptionsTest, AuthenticationTypesHaveTheirNumbers) {
    EXPECT_EQ(0U, static_cast<unsigned>(AuthType::NONE));
    EXPECT_EQ(1U, static_cast<unsigned>(AuthType::BASIC));
    EXPECT_EQ(2U, static_cast<unsigned>(AuthType::RESERVED));
    EXPECT_EQ(3U, static_cast<unsigned>(AuthType::OAUTH));
    EXPECT_EQ(4U, static_cast<unsigned>(AuthType::NTLM));
}

TEST(HttpRequestOptionsTest, EveryMaskOfTlsVersionsListsItsSetBits) {
    const char* const lists[] = {
        "",         " TLS_1_0",         " TLS_1_1",         " TLS_1_0 TLS_1_1",
        " TLS_1_2", " TLS_1_0 TLS_1_2", " TLS_1_1 TLS_1_2", " TLS_1_0 TLS_1_1 TLS_1_2"};
    HttpRequestOptions options("");
    for (long mask = 0; mask < 8; ++mask) {
        options.acceptableTlsVersions = mask;
        EXPECT_EQ(std::string("[acceptable cryptographic protocols] ") + lists[mask],
                  options.acceptableTlsVersionsAsString());
    }
    options.acceptableTlsVersions = 8;
    EXPECT_EQ("[acceptable cryptographic protocols] ", options.acceptableTlsVersionsAsString());
}

TEST(HttpRequestOptionsTest, EveryMaskOfLoggingOptionsListsFilePathAndUrlButNotUrlPath) {
    const char* const lists[] = {"", "NO_FILE_PATH", "NO_URL", "NO_FILE_PATHNO_URL"};
    HttpRequestOptions options("");
    for (long mask = 0; mask < 8; ++mask) {
        options.loggingOptions = mask;
        EXPECT_EQ(std::string("[Logging Options] ") + lists[mask & 3], options.loggingOptionAsString())
            << mask;
    }
}

TEST(HttpRequestOptionsTest, ALoggingOptionIsSetExactlyWhenItsBitIs) {
    HttpRequestOptions options("");
    for (long mask = 0; mask < 8; ++mask) {
        options.loggingOptions = mask;
        for (const long option :
             {LoggingOption::NO_FILE_PATH, LoggingOption::NO_URL, LoggingOption::NO_URL_PATH}) {
            EXPECT_EQ((mask & option) != 0, options.isLoggingOptionSet(option)) << mask << ", " << option;
        }
    }
    EXPECT_FALSE(options.isLoggingOptionSet(0));
}

TEST(HttpRequestOptionsTest, TheCookieAndEdgeFlagsAreSetAndCleared) {
    HttpRequestOptions options("");
    options.setCookieMandatory(true);
    EXPECT_TRUE(options.isCookieMandatory());
    EXPECT_TRUE(options.cookieMandatory);
    EXPECT_FALSE(options.isEdgeRequest());
    options.setEdgeRequest(true);
    EXPECT_TRUE(options.isEdgeRequest());
    EXPECT_TRUE(options.edgeRequest);
    options.setCookieMandatory(false);
    options.setEdgeRequest(false);
    EXPECT_FALSE(options.isCookieMandatory());
    EXPECT_FALSE(options.isEdgeRequest());
}

TEST(IdentityMatchModelTest, PrintsItsNames) {
    std::ostringstream text;
    text << IdentityMatchModel::SOFT_MATCH << ' ' << IdentityMatchModel::STRICT_MATCH;
    EXPECT_EQ("SOFT_MATCH STRICT_MATCH", text.str());
    EXPECT_EQ(0, IdentityMatchModel::SOFT_MATCH);
    EXPECT_EQ(1, IdentityMatchModel::STRICT_MATCH);
}

}  // namespace
}  // namespace zeb::http::test

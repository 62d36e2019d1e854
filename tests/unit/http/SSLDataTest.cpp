#include "http/SSLData.h"

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

SSLData filled() {
    SSLData data;
    data.identifierToDisplay = "display";
    data.serverCurlFQDN = "fqdn";
    data.sniServerName = "sni";
    data.referenceIdentifiers = {"a", "b"};
    data.identityMatchModel = IdentityMatchModel::STRICT_MATCH;
    data.identifierToDisplayDefaulted = true;
    data.referenceIdentifiersDefaulted = true;
    return data;
}

TEST(SSLDataTest, IsEmptyAtFirst) {
    const SSLData data;
    EXPECT_EQ("", data.identifierToDisplay);
    EXPECT_EQ("", data.serverCurlFQDN);
    EXPECT_EQ("", data.sniServerName);
    EXPECT_THAT(data.referenceIdentifiers, IsEmpty());
    EXPECT_EQ(IdentityMatchModel::SOFT_MATCH, data.identityMatchModel);
    EXPECT_EQ(nullptr, data.certVerifier);
    EXPECT_FALSE(data.identifierToDisplayDefaulted);
    EXPECT_FALSE(data.referenceIdentifiersDefaulted);
}

TEST(SSLDataTest, ResettingTheDisplayNameClearsItAndItsFlagAlone) {
    SSLData data = filled();
    data.resetIdentifierToDisplay();
    EXPECT_EQ("", data.identifierToDisplay);
    EXPECT_FALSE(data.identifierToDisplayDefaulted);
    EXPECT_EQ("fqdn", data.serverCurlFQDN);
    EXPECT_EQ("sni", data.sniServerName);
    EXPECT_THAT(data.referenceIdentifiers, ElementsAre("a", "b"));
    EXPECT_EQ(IdentityMatchModel::STRICT_MATCH, data.identityMatchModel);
    EXPECT_TRUE(data.referenceIdentifiersDefaulted);
}

TEST(SSLDataTest, ResettingTheReferenceIdentifiersClearsTheirFlagAndTheServersNameToo) {
    SSLData data = filled();
    data.resetReferenceIdentifiers();
    EXPECT_THAT(data.referenceIdentifiers, IsEmpty());
    EXPECT_FALSE(data.referenceIdentifiersDefaulted);
    EXPECT_EQ("", data.serverCurlFQDN);
    EXPECT_EQ("display", data.identifierToDisplay);
    EXPECT_TRUE(data.identifierToDisplayDefaulted);
    EXPECT_EQ("sni", data.sniServerName);
    EXPECT_EQ(IdentityMatchModel::STRICT_MATCH, data.identityMatchModel);
}

TEST(SSLDataTest, ResettingTheServersNameClearsItAlone) {
    SSLData data = filled();
    data.resetServerCurlFQDN();
    EXPECT_EQ("", data.serverCurlFQDN);
    EXPECT_EQ("display", data.identifierToDisplay);
    EXPECT_TRUE(data.identifierToDisplayDefaulted);
    EXPECT_EQ("sni", data.sniServerName);
    EXPECT_THAT(data.referenceIdentifiers, ElementsAre("a", "b"));
    EXPECT_TRUE(data.referenceIdentifiersDefaulted);
}

}  // namespace
}  // namespace zeb::http::test

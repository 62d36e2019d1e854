#include "netutils/SNIUtil.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::LogCapture;

class SNIUtilTest : public testing::Test {
protected:
    ~SNIUtilTest() override { SNIUtil::setEdgeDomain(""); }
    LogCapture log_;

    static std::string emptyText(const std::string& domain, const std::string& edge) {
        return "SRV record domain[" + ZEBLogger_replacePIIData(domain) + "]  or Edge domain[" +
               ZEBLogger_replacePIIData(edge) + "] is empty ";
    }
};

TEST_F(SNIUtilTest, TheEdgeDomainIsLoggedHidden) {
    SNIUtil::setEdgeDomain("example.test");
    EXPECT_THAT(log_.linesOf("zeb.netutils"),
                testing::ElementsAre("edge domain: " + ZEBLogger_replacePIIData("example.test")));
}

TEST_F(SNIUtilTest, TheHostNameIsTheFirstLabel) {
    EXPECT_EQ("edge1", SNIUtil::getHostName("edge1.other.net"));
    EXPECT_EQ("a", SNIUtil::getHostName("a."));
}

TEST_F(SNIUtilTest, ANameWithoutADotHasNoHostName) {
    EXPECT_EQ("", SNIUtil::getHostName("server"));
    EXPECT_EQ("", SNIUtil::getHostName(""));
    EXPECT_EQ("", SNIUtil::getHostName(".test"));
}

TEST_F(SNIUtilTest, TheLastTwoLabelsAreComparedInWhateverCase) {
    SNIUtil::setEdgeDomain("b.example.test");
    EXPECT_TRUE(SNIUtil::matchedRootDomainWithEdgeDomain("a.EXAMPLE.test"));
    EXPECT_TRUE(SNIUtil::matchedRootDomainWithEdgeDomain("example.test"));
    EXPECT_TRUE(SNIUtil::matchedRootDomainWithEdgeDomain("a.b.c.example.TEST"));
    EXPECT_FALSE(SNIUtil::matchedRootDomainWithEdgeDomain("b.other.test"));
    EXPECT_FALSE(SNIUtil::matchedRootDomainWithEdgeDomain("notexample.test"));
}

TEST_F(SNIUtilTest, ANameOfFewerLabelsIsComparedWhole) {
    SNIUtil::setEdgeDomain("test");
    EXPECT_TRUE(SNIUtil::matchedRootDomainWithEdgeDomain("TEST"));
    EXPECT_FALSE(SNIUtil::matchedRootDomainWithEdgeDomain("example.test"));
    EXPECT_FALSE(SNIUtil::matchedRootDomainWithEdgeDomain(".test"));
}

TEST_F(SNIUtilTest, TwoEmptyNamesHaveTheSameRootButDoNotMatch) {
    EXPECT_TRUE(SNIUtil::matchedRootDomainWithEdgeDomain(""));
    EXPECT_FALSE(SNIUtil::isMatchedWithEdgeDomain(""));
}

TEST_F(SNIUtilTest, AMatchNeedsBothNames) {
    EXPECT_FALSE(SNIUtil::isMatchedWithEdgeDomain("a.example.test"));
    EXPECT_TRUE(log_.contains(emptyText("a.example.test", "")));
    SNIUtil::setEdgeDomain("example.test");
    EXPECT_FALSE(SNIUtil::isMatchedWithEdgeDomain(""));
    EXPECT_TRUE(log_.contains(emptyText("", "example.test")));
    EXPECT_TRUE(SNIUtil::isMatchedWithEdgeDomain("a.example.test"));
    EXPECT_FALSE(SNIUtil::isMatchedWithEdgeDomain("a.other.test"));
}

TEST_F(SNIUtilTest, WithAnEmptyEdgeDomainThereIsNoServerName) {
    EXPECT_EQ("", SNIUtil::getServerNameForSNI("a.example.test"));
    EXPECT_TRUE(log_.contains(emptyText("a.example.test", "")));
}

TEST_F(SNIUtilTest, AnEmptyNameHasNoServerName) {
    SNIUtil::setEdgeDomain("example.test");
    EXPECT_EQ("", SNIUtil::getServerNameForSNI(""));
}

TEST_F(SNIUtilTest, ANameWithinTheEdgeDomainIsItsOwnServerName) {
    SNIUtil::setEdgeDomain("example.test");
    EXPECT_EQ("edge1.internal.example.test", SNIUtil::getServerNameForSNI("edge1.internal.example.test"));
}

TEST_F(SNIUtilTest, AnotherNameIsTakenIntoTheEdgeDomainByItsFirstLabel) {
    SNIUtil::setEdgeDomain("example.test");
    EXPECT_EQ("edge1.example.test", SNIUtil::getServerNameForSNI("edge1.other.net"));
}

TEST_F(SNIUtilTest, ANameWithoutAFirstLabelHasNoServerName) {
    SNIUtil::setEdgeDomain("example.test");
    EXPECT_EQ("", SNIUtil::getServerNameForSNI("server"));
    EXPECT_TRUE(log_.contains("host for srv record domain was empty"));
}

}  // namespace
}  // namespace zeb::netutils::test

#include "cert/utils/AltNameParserImpl.h"
#include "support/CertificateBuilder.h"
#include "support/LogCapture.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::CertificateBuilder;
using zeb::test::LogCapture;

using Texts = std::vector<std::string>;

constexpr auto SUCCESS = CertIdentifierStatus::SUCCESS;
constexpr auto NO_MATCH_FOUND = CertIdentifierStatus::NO_MATCH_FOUND;

/// Without the log, but where a test looks at it.
class AltNameMatchTest : public testing::Test {
protected:
    AltNameMatchTest() { LogController::getInstance()->setLevel(0); }
};

AltNameParserImpl withDnsNames(const Texts& names, const std::string& commonName = "") {
    return {names, {}, {}, commonName};
}

AltNameParserImpl withCommonName(const std::string& name) {
    return {{}, {}, {}, name};
}

std::string hidden(const std::string& text) {
    return ZEBLogger_replacePIIData(text);
}

TEST_F(AltNameMatchTest, AWildcardStandsForOneLabelInWhateverCase) {
    const AltNameParserImpl parser = withDnsNames({"*.example.com"});
    EXPECT_EQ(parser.verify("a.EXAMPLE.com"), SUCCESS);
    EXPECT_EQ(parser.verify("a.b.example.com"), NO_MATCH_FOUND);
    EXPECT_EQ(parser.verify("example.com"), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, TheCommonNameIsNotLookedAtWhenThereAreDnsNames) {
    const AltNameParserImpl parser = withDnsNames({"a.example.com"}, "b.example.com");
    EXPECT_EQ(parser.verify("b.example.com"), NO_MATCH_FOUND);
    EXPECT_EQ(parser.verify("a.example.com"), SUCCESS);
}

TEST_F(AltNameMatchTest, NamesOfOtherKindsDoNotHideTheCommonName) {
    const AltNameParserImpl parser({}, {"_s.x.test"}, {"x.test"}, "b.example.com");
    EXPECT_EQ(parser.verify("b.example.com"), SUCCESS);
    EXPECT_EQ(parser.verify("x.test"), NO_MATCH_FOUND);
    EXPECT_EQ(parser.verify("_s.x.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, AWildcardBeforeAnIpAddressNeverMatches) {
    for (const char* address :
         {"10.0.0.1", "0.0.1", "1", "123.123", "fe80::1", "::1", "1:2", "2001:db8::1"}) {
        for (const char* label : {"a.", "*.", "1.", "."}) {
            const std::string reference = std::string(label) + address;
            const std::string name = std::string("*.") + address;
            const auto expected = reference == name ? SUCCESS : NO_MATCH_FOUND;  // it's the very same text
            EXPECT_EQ(withDnsNames({name}).verify(reference), expected) << reference;
            EXPECT_EQ(withCommonName(name).verify(reference), expected) << reference;
        }
        EXPECT_EQ(withDnsNames({std::string("*.") + address}).verify(address), NO_MATCH_FOUND) << address;
    }
}

TEST_F(AltNameMatchTest, AWildcardBeforeWhatOnlyBeginsLikeAnIpAddressMatches) {
    for (const char* parent : {"10.test", "10.0.0.test", "1234.test", "1234.1", "10..1", "1a",
                               "10.0.0.1.test", "1.1-1", "face", "fe80.test", "-1"}) {
        EXPECT_EQ(withDnsNames({std::string("*.") + parent}).verify(std::string("a.") + parent), SUCCESS)
            << parent;
    }
}

TEST_F(AltNameMatchTest, AnAddressWithATrailingDotReadsAsAddress) {
    EXPECT_EQ(withDnsNames({"*.10.0."}).verify("a.10.0."), NO_MATCH_FOUND);
    EXPECT_EQ(withDnsNames({"*."}).verify("a."), NO_MATCH_FOUND);
    EXPECT_EQ(withDnsNames({"*.1234"}).verify("a.1234"), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, ATextWithoutAParentIsTold) {
    const LogCapture log;
    EXPECT_EQ(withDnsNames({"*.example.com"}).verify("localhost"), NO_MATCH_FOUND);
    EXPECT_TRUE(
        log.contains(ZEBLOG_WARNING, "Did not find parent domain for domain '" + hidden("localhost") + "'"));
    EXPECT_EQ(withDnsNames({"*.example.com"}).verify("localhost."), NO_MATCH_FOUND);
    EXPECT_TRUE(
        log.contains(ZEBLOG_WARNING, "Did not find parent domain for domain '" + hidden("localhost.") + "'"));
    EXPECT_FALSE(log.contains("localhost"));
}

TEST_F(AltNameMatchTest, AMatchWithTheCommonNameIsTold) {
    const LogCapture log;
    EXPECT_EQ(withCommonName("A.test").verify("a.test"), SUCCESS);
    EXPECT_TRUE(log.contains("Match for '" + hidden("a.test") + "' found in _commonName"));
    EXPECT_FALSE(log.contains("Wildcard match"));
    EXPECT_EQ(withCommonName("*.b.test").verify("a.b.test"), SUCCESS);
    EXPECT_TRUE(log.contains("Wildcard match for '" + hidden("a.b.test") + "' found in _commonName"));
}

TEST_F(AltNameMatchTest, AMatchWithADnsNameIsToldWithItsPlace) {
    const LogCapture log;
    const AltNameParserImpl parser = withDnsNames({"x.test", "A.test", "*.b.test"});
    EXPECT_EQ(parser.verify("a.test"), SUCCESS);
    EXPECT_TRUE(log.contains("Match for '" + hidden("a.test") + "' found in dnsNames index: 1"));
    EXPECT_EQ(parser.verify("a.b.test"), SUCCESS);
    EXPECT_TRUE(log.contains("Wildcard match for '" + hidden("a.b.test") + "' found in dnsNames index: 2"));
}

TEST_F(AltNameMatchTest, TheFirstNameThatMatchesEitherWayWins) {
    const LogCapture log;
    EXPECT_EQ(withDnsNames({"*.b.test", "a.b.test"}).verify("a.b.test"), SUCCESS);
    EXPECT_TRUE(log.contains("Wildcard match for '" + hidden("a.b.test") + "' found in dnsNames index: 0"));
    EXPECT_FALSE(log.contains("index: 1"));
}

TEST_F(AltNameMatchTest, NoMatchIsAnErrorThatNamesNobodyInTheClear) {
    const LogCapture log;
    EXPECT_EQ(withDnsNames({"secret-server.test"}).verify("secret-client.test"), NO_MATCH_FOUND);
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "No Match Found for '" + hidden("secret-client.test") + "'"));
    EXPECT_FALSE(log.contains("secret"));
}

TEST_F(AltNameMatchTest, AnXmppAddressMatchesInWhateverCase) {
    const LogCapture log;
    const AltNameParserImpl parser({}, {}, {"x.test", "IM.example.com"}, "");
    EXPECT_EQ(parser.verifyXmpp("im.EXAMPLE.com"), SUCCESS);
    EXPECT_TRUE(log.contains("Match for '" + hidden("im.EXAMPLE.com") + "' found in _xmppAddrs index: 1"));
    EXPECT_EQ(parser.verifyXmpp("example.com"), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, AnSrvNameOfTheXmppServiceMatchesInWhateverCase) {
    const LogCapture log;
    const AltNameParserImpl parser({}, {"_xmpp-client.im.example.com", "_xmpp-server.IM.example.com"}, {},
                                   "");
    EXPECT_EQ(parser.verifyXmpp("im.example.com"), SUCCESS);
    EXPECT_TRUE(log.contains("' found in _srvNames index: 1"));
    EXPECT_FALSE(log.contains("im.example.com"));
    EXPECT_EQ(parser.verifyXmpp("example.com"), NO_MATCH_FOUND);
    EXPECT_EQ(parser.verifyXmpp("_xmpp-server.im.example.com"), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, SrvNamesOfOtherServicesDoNotMatch) {
    for (const char* name : {"im.example.com", "_xmpp-client.im.example.com", "_imaps.im.example.com",
                             "xmpp-server.im.example.com", "_xmpp-serverim.example.com"}) {
        EXPECT_EQ(AltNameParserImpl({}, {name}, {}, "").verifyXmpp("im.example.com"), NO_MATCH_FOUND) << name;
    }
}

TEST_F(AltNameMatchTest, WildcardsAmongXmppAddressesAndSrvNamesDoNotMatch) {
    const AltNameParserImpl parser({}, {"_xmpp-server.*.example.com", "*.im.example.com"}, {"*.example.com"},
                                   "");
    EXPECT_EQ(parser.verifyXmpp("im.example.com"), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, AnXmppAddressGoesBeforeAnSrvName) {
    const LogCapture log;
    EXPECT_EQ(AltNameParserImpl({}, {"_xmpp-server.x.test"}, {"x.test"}, "x.test").verifyXmpp("x.test"),
              SUCCESS);
    EXPECT_TRUE(log.contains("' found in _xmppAddrs index: 0"));
    EXPECT_FALSE(log.contains("_srvNames"));
    EXPECT_FALSE(log.contains("_commonName"));
}

TEST_F(AltNameMatchTest, XmppFallsBackOnDnsNamesAndTheCommonNameWithTheirWildcards) {
    const LogCapture log;
    EXPECT_EQ(AltNameParserImpl({"*.d.test"}, {}, {"x.test"}, "cn.test").verifyXmpp("im.d.test"), SUCCESS);
    EXPECT_TRUE(log.contains("Xmpp match was not found for: '" + hidden("im.d.test") + "'"));
    EXPECT_EQ(AltNameParserImpl({"*.d.test"}, {}, {"x.test"}, "cn.test").verifyXmpp("cn.test"),
              NO_MATCH_FOUND);
    EXPECT_EQ(AltNameParserImpl({}, {}, {"x.test"}, "cn.test").verifyXmpp("cn.test"), SUCCESS);
    EXPECT_EQ(AltNameParserImpl({}, {"_s.x.test"}, {}, "*.d.test").verifyXmpp("im.d.test"), SUCCESS);
}

/// The fallback asks for its own verify().
class CountingParser : public AltNameParserImpl {
public:
    using AltNameParserImpl::AltNameParserImpl;

    CertIdentifierStatus::Status verify(const std::string& identifier) const override {
        asked_.push_back(identifier);
        return CertIdentifierStatus::SUCCESS;
    }

    mutable Texts asked_;
};

TEST_F(AltNameMatchTest, TheXmppFallbackIsWhatADerivedParserMakesOfIt) {
    const CountingParser parser({}, {}, {"x.test"}, "");
    EXPECT_EQ(parser.verifyXmpp("x.test"), SUCCESS);
    EXPECT_EQ(parser.asked_, Texts());
    EXPECT_EQ(parser.verifyXmpp("other.test"), SUCCESS);
    EXPECT_EQ(parser.asked_, Texts{"other.test"});
}

TEST_F(AltNameMatchTest, InCommonCriteriaModeAWildcardMatchesNothingButItself) {
    AltNameParserImpl parser(true);
    parser.parse(CertificateBuilder().dnsNames({"*.example.com", "a.test"}).build().get());
    EXPECT_EQ(parser.verify("a.example.com"), NO_MATCH_FOUND);
    EXPECT_EQ(parser.verifyXmpp("a.example.com"), NO_MATCH_FOUND);
    EXPECT_EQ(parser.verify("A.test"), SUCCESS);
    EXPECT_EQ(parser.verify("*.example.com"), SUCCESS);
    parser.parse(CertificateBuilder().commonName("*.example.com").build().get());
    EXPECT_EQ(parser.verify("a.example.com"), NO_MATCH_FOUND);
    EXPECT_EQ(parser.verify("*.example.com"), SUCCESS);
}

TEST_F(AltNameMatchTest, AnIdentifierWithANulMatchesNoName) {
    const std::string identifier("a.test\0.evil.test", 17);
    EXPECT_EQ(withDnsNames({"a.test"}).verify(identifier), NO_MATCH_FOUND);
    EXPECT_EQ(withCommonName("a.test").verify(identifier), NO_MATCH_FOUND);
    EXPECT_EQ(AltNameParserImpl({}, {"_xmpp-server.a.test"}, {"a.test"}, "").verifyXmpp(identifier),
              NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, AWildcardDoesNotStandForALabelWithANul) {
    const std::string identifier("bank\0.evil.test", 15);
    EXPECT_EQ(withDnsNames({"*.evil.test"}).verify(identifier), NO_MATCH_FOUND);
    EXPECT_EQ(withCommonName("*.evil.test").verify(identifier), NO_MATCH_FOUND);
    EXPECT_EQ(withDnsNames({"*.evil.test"}).verifyXmpp(identifier), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, HugeTextsAreCompared) {
    const std::string huge(1000000, 'a');
    EXPECT_EQ(withDnsNames({huge}).verify(std::string(1000000, 'A')), SUCCESS);
    EXPECT_EQ(withDnsNames({huge}).verify(huge + "a"), NO_MATCH_FOUND);
    EXPECT_EQ(withDnsNames({"*." + huge}).verify("x." + huge), SUCCESS);
    EXPECT_EQ(withDnsNames({"*." + std::string(1000000, '1')}).verify("x." + std::string(1000000, '1')),
              NO_MATCH_FOUND);
    EXPECT_EQ(withDnsNames({std::string(1000000, '.')}).verify(std::string(999999, '.')), NO_MATCH_FOUND);
}

TEST_F(AltNameMatchTest, OnlyLettersOfAsciiHaveACase) {
    for (int one = 1; one < 256; ++one) {
        for (int other = 1; other < 256; ++other) {
            const auto isLower = [](int character) { return character >= 'a' && character <= 'z'; };
            const bool same =
                one == other || (isLower(one) && other == one - 32) || (isLower(other) && one == other - 32);
            ASSERT_EQ(withDnsNames({std::string(1, static_cast<char>(one))})
                          .verify(std::string(1, static_cast<char>(other))),
                      same ? SUCCESS : NO_MATCH_FOUND)
                << one << " " << other;
        }
    }
}

TEST_F(AltNameMatchTest, TheNamesGivenForATestComeBack) {
    AltNameParserImpl parser({"d.test"}, {"s.test"}, {"x.test"}, "cn.test");
    EXPECT_EQ(parser.getDnsNames(), Texts{"d.test"});
    EXPECT_EQ(parser.getSrvNames(), Texts{"s.test"});
    EXPECT_EQ(parser.getXmppAddresses(), Texts{"x.test"});
    EXPECT_EQ(parser.getCommonName(), "cn.test");
}

}  // namespace
}  // namespace zeb::cert::test

#include "cert/utils/AltNameParserFactory.h"
#include "cert/utils/AltNameParserImpl.h"
#include "support/CertificateBuilder.h"
#include "support/Der.h"
#include "support/LogCapture.h"
#include "unit/cert/utils/OpenSslSeam.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>

namespace zeb::cert::test {
namespace {

namespace der = zeb::test::der;
using zeb::test::CertificateBuilder;
using zeb::test::DecodedExtension;
using zeb::test::FailingOpenSslCall;
using zeb::test::IssuedCertificate;
using zeb::test::LogCapture;
using zeb::test::OpenSslCall;

using Texts = std::vector<std::string>;

constexpr char SUBJECT_ALT_NAME[] = "2.5.29.17";
constexpr char SRV_NAME[] = "1.3.6.1.5.5.7.8.7";
constexpr char XMPP_ADDRESS[] = "1.3.6.1.5.5.7.8.5";
constexpr auto SUCCESS = CertIdentifierStatus::SUCCESS;
constexpr auto NO_MATCH_FOUND = CertIdentifierStatus::NO_MATCH_FOUND;
constexpr auto NO_IDENTITY = CertIdentifierStatus::NO_IDENTITY_INFO_IN_CERT;

std::string srvName(const std::string& text) {
    return der::otherName(SRV_NAME, der::value(der::IA5_STRING, text));
}

std::string xmppAddress(const std::string& text) {
    return der::otherName(XMPP_ADDRESS, der::value(der::UTF8_STRING, text));
}

/// Bytes with a NUL among them.
template <std::size_t SIZE>
std::string bytes(const char (&text)[SIZE]) {
    return {text, SIZE - 1};
}

class AltNameParserImplTest : public testing::Test {
protected:
    CertIdentifierStatus::Status parse(const CertificateBuilder& builder) {
        return parser_.parse(builder.build().get());
    }

    CertIdentifierStatus::Status parseAltNames(const Texts& generalNames) {
        return parse(CertificateBuilder().altNames(generalNames));
    }

    void expectNoNames() {
        EXPECT_EQ(parser_.getDnsNames(), Texts());
        EXPECT_EQ(parser_.getSrvNames(), Texts());
        EXPECT_EQ(parser_.getXmppAddresses(), Texts());
    }

    AltNameParserImpl parser_;
    LogCapture log_;
};

TEST_F(AltNameParserImplTest, ANullCertificateIsAnError) {
    EXPECT_EQ(parser_.parse(nullptr), CertIdentifierStatus::INTERNAL_ERROR);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "invalid argument, cert is NULL"));
}

TEST_F(AltNameParserImplTest, EveryKindOfNameIsKeptInTheOrderOfTheCertificate) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").altNames(
                  {xmppAddress("x1.test"), der::dnsName("d1.test"), srvName("_s1.test"),
                   der::dnsName("d2.test"), srvName("_s2.test"), xmppAddress("x2.test")})),
              SUCCESS);
    EXPECT_EQ(parser_.getDnsNames(), (Texts{"d1.test", "d2.test"}));
    EXPECT_EQ(parser_.getSrvNames(), (Texts{"_s1.test", "_s2.test"}));
    EXPECT_EQ(parser_.getXmppAddresses(), (Texts{"x1.test", "x2.test"}));
    EXPECT_EQ(parser_.getCommonName(), "cn.test");
    EXPECT_EQ(log_.text(), "");
}

TEST_F(AltNameParserImplTest, WithoutTheExtensionTheCommonNameIsLeft) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test")), SUCCESS);
    expectNoNames();
    EXPECT_EQ(parser_.getCommonName(), "cn.test");
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "SubjectAltName extension not found"));
}

TEST_F(AltNameParserImplTest, ACertificateThatNamesNobodyHasNoIdentity) {
    EXPECT_EQ(parse(CertificateBuilder()), NO_IDENTITY);
    EXPECT_EQ(parser_.getCommonName(), "");
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, "No Identity information available"));
    EXPECT_EQ(parser_.verify("a.test"), NO_MATCH_FOUND);
    EXPECT_EQ(parser_.verifyXmpp("a.test"), NO_MATCH_FOUND);
    EXPECT_EQ(parseAltNames({}), NO_IDENTITY);
    EXPECT_EQ(parse(CertificateBuilder().subjectEntry(NID_organizationName, V_ASN1_UTF8STRING, "a.test")),
              NO_IDENTITY);
}

TEST_F(AltNameParserImplTest, OneNameOfAnyKindIsAnIdentity) {
    for (const Texts& names :
         {Texts{der::dnsName("d.test")}, Texts{srvName("s.test")}, Texts{xmppAddress("x.test")}}) {
        EXPECT_EQ(parseAltNames(names), SUCCESS);
    }
    EXPECT_FALSE(log_.contains("No Identity information available"));
}

TEST_F(AltNameParserImplTest, AMissingSubjectLeavesTheOtherNames) {
    const IssuedCertificate certificate =
        CertificateBuilder().commonName("cn.test").dnsNames({"d.test"}).build();
    const FailingOpenSslCall failing(OpenSslCall::GET_SUBJECT);
    EXPECT_EQ(parser_.parse(certificate.get()), SUCCESS);
    EXPECT_EQ(parser_.getCommonName(), "");
    EXPECT_EQ(parser_.getDnsNames(), Texts{"d.test"});
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "subject is NULL"));
}

TEST_F(AltNameParserImplTest, AnExtensionThatCannotBeHadLeavesTheCommonName) {
    const IssuedCertificate certificate =
        CertificateBuilder().commonName("cn.test").dnsNames({"d.test"}).build();
    const auto parseWithout = [&](OpenSslCall call, const char* message) {
        const FailingOpenSslCall failing(call);
        EXPECT_EQ(parser_.parse(certificate.get()), SUCCESS);
        expectNoNames();
        EXPECT_EQ(parser_.verify("cn.test"), SUCCESS);
        EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, message)) << message;
    };
    parseWithout(OpenSslCall::GET_EXTENSION, "failed to get extension using API");
    parseWithout(OpenSslCall::GET_EXTENSION_METHOD, "failed to get extension methods using API");
}

TEST_F(AltNameParserImplTest, ADamagedExtensionLeavesTheCommonName) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").rawExtension(SUBJECT_ALT_NAME, "damaged")),
              SUCCESS);
    expectNoNames();
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "failed to get GENERAL_NAMES structure"));
    EXPECT_EQ(parser_.verify("cn.test"), SUCCESS);
    EXPECT_EQ(parse(CertificateBuilder().rawExtension(SUBJECT_ALT_NAME, "damaged")), NO_IDENTITY);
}

TEST_F(AltNameParserImplTest, AnExtensionThatIsThereTwiceIsDamaged) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").dnsNames({"a.test"}).dnsNames({"b.test"})),
              SUCCESS);
    expectNoNames();
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "failed to get GENERAL_NAMES structure"));
}

TEST_F(AltNameParserImplTest, AnExtensionCutOffAnywhereGivesNoName) {
    const std::string whole = der::sequence(
        {der::dnsName("d.test"), srvName("s.test"), xmppAddress("x.test"), der::ipAddress("abcd")});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").rawExtension(SUBJECT_ALT_NAME,
                                                                                whole.substr(0, length))),
                  SUCCESS);
        expectNoNames();
        EXPECT_EQ(parser_.verify("cn.test"), SUCCESS) << length;
    }
}

TEST_F(AltNameParserImplTest, AnExtensionChangedAnywhereIsReadWithoutHarm) {
    const std::string whole = der::sequence({der::dnsName("d.test"), srvName("s.test"), xmppAddress("x.test"),
                                             der::uri("u"), der::ipAddress("abcd")});
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string changed = whole;
            changed[place] = static_cast<char>(static_cast<unsigned char>(changed[place]) ^ (1U << bit));
            EXPECT_EQ(
                parse(CertificateBuilder().commonName("cn.test").rawExtension(SUBJECT_ALT_NAME, changed)),
                SUCCESS);
            EXPECT_EQ(parser_.verify("evil.test"), NO_MATCH_FOUND);
            EXPECT_EQ(parser_.getCommonName(), "cn.test");
        }
    }
}

TEST_F(AltNameParserImplTest, ANullEntryIsPassedOver) {
    auto* const names = GENERAL_NAMES_new();
    sk_GENERAL_NAME_push(names, nullptr);
    GENERAL_NAME* const name = GENERAL_NAME_new();
    name->type = GEN_DNS;
    name->d.dNSName = ASN1_IA5STRING_new();
    ASN1_STRING_set(name->d.dNSName, "d.test", -1);
    sk_GENERAL_NAME_push(names, name);
    const DecodedExtension decoded(names);
    EXPECT_EQ(parse(CertificateBuilder().dnsNames({"other.test"})), SUCCESS);
    EXPECT_EQ(parser_.getDnsNames(), Texts{"d.test"});
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "failed to read GENERAL_NAME from field index : 0"));
}

TEST_F(AltNameParserImplTest, OtherKindsOfNamesAreIgnored) {
    EXPECT_EQ(parseAltNames({der::rfc822Name("d.test"), der::uri("https://d.test/"), der::ipAddress("d.te"),
                             der::dnsName("kept.test")}),
              SUCCESS);
    EXPECT_EQ(parser_.getDnsNames(), Texts{"kept.test"});
    for (const char* type : {"1", "6", "7"}) {
        EXPECT_TRUE(log_.contains(std::string("ignoring field with type : ") + type)) << type;
    }
    EXPECT_EQ(parser_.verify("d.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, OtherNamesOfOtherKindsAreIgnored) {
    EXPECT_EQ(
        parseAltNames({der::otherName("1.3.6.1.4.1.311.20.2.3", der::value(der::UTF8_STRING, "u@d.test")),
                       der::otherName("1.3.6.1.5.5.7.8.70", der::value(der::IA5_STRING, "d.test"))}),
        NO_IDENTITY);
    EXPECT_TRUE(log_.contains("ignoring OID : 1.3.6.1.4.1.311.20.2.3"));
    EXPECT_TRUE(log_.contains("ignoring OID : 1.3.6.1.5.5.7.8.70"));
}

TEST_F(AltNameParserImplTest, AnOtherNameOfALongTypeIsIgnored) {
    const auto typeOf = [](int arcs) {
        std::string type = "1.3";
        for (int arc = 0; arc < arcs; ++arc) {
            type += ".4294967295";
        }
        return type;
    };
    const std::string text = der::value(der::IA5_STRING, "d.test");
    EXPECT_EQ(parseAltNames({der::otherName(typeOf(50), text)}), NO_IDENTITY);
    EXPECT_TRUE(log_.contains("ignoring OID : " + typeOf(50)));
    EXPECT_EQ(parseAltNames({der::otherName(typeOf(500), text)}), NO_IDENTITY);  // OpenSSL doesn't print it
}

TEST_F(AltNameParserImplTest, AnOtherNameOfAnyKindOfTextIsReadByItsBytes) {
    for (const der::Tag tag : {der::UTF8_STRING, der::NUMERIC_STRING, der::PRINTABLE_STRING, der::T61_STRING,
                               der::IA5_STRING, der::VISIBLE_STRING, der::GENERAL_STRING}) {
        EXPECT_EQ(parseAltNames({der::otherName(SRV_NAME, der::value(tag, "_s.d.test")),
                                 der::otherName(XMPP_ADDRESS, der::value(tag, "d.test"))}),
                  SUCCESS);
        EXPECT_EQ(parser_.getSrvNames(), Texts{"_s.d.test"}) << static_cast<int>(tag);
        EXPECT_EQ(parser_.getXmppAddresses(), Texts{"d.test"}) << static_cast<int>(tag);
    }
}

TEST_F(AltNameParserImplTest, AnOtherNameThatIsNoTextIsDropped) {
    const std::string text = der::value(der::IA5_STRING, "d.test");
    const std::string values[] = {
        der::value(der::BOOLEAN, "\xFF"),
        der::value(der::INTEGER, "d.test"),
        der::value(der::BIT_STRING, bytes("\0d.test")),
        der::value(der::OCTET_STRING, "d.test"),
        der::value(der::NULL_VALUE, ""),
        der::objectIdentifier("1.2.3.4"),
        der::value(0x0A, "d.test"),  // ENUMERATED
        der::value(0x17, "260101000000Z"),
        der::value(0x18, "20260101000000Z"),
        der::sequence({text}),
        der::value(der::SET, text),
        der::value(0x80, "d.test"),  // a tag of somebody's own
        der::value(0xA0, text),
        der::value(0x41, "d.test"),
    };
    for (const char* type : {SRV_NAME, XMPP_ADDRESS}) {
        for (const std::string& value : values) {
            log_.clear();
            EXPECT_EQ(
                parse(CertificateBuilder().commonName("cn.test").altNames({der::otherName(type, value)})),
                SUCCESS);
            expectNoNames();
            EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "ignoring a name that is no text, OID : "))
                << testing::PrintToString(value);
            EXPECT_EQ(parser_.verifyXmpp("d.test"), NO_MATCH_FOUND);
        }
    }
}

TEST_F(AltNameParserImplTest, AnOtherNameWithoutAValueIsADamagedExtension) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").altNames({der::otherName(SRV_NAME, "")})),
              SUCCESS);
    expectNoNames();
}

TEST_F(AltNameParserImplTest, ANameWithANulIsDropped) {
    const std::string name = bytes("bank.test\0.evil.test");
    EXPECT_EQ(parse(CertificateBuilder().commonName(name).altNames(
                  {der::dnsName(name), srvName(name), xmppAddress(name), der::dnsName(bytes("a.test\0")),
                   der::dnsName(bytes("\0a.test"))})),
              NO_IDENTITY);
    expectNoNames();
    EXPECT_EQ(parser_.getCommonName(), "");
    for (const std::string& identifier : {std::string("bank.test"), name, std::string("a.test")}) {
        EXPECT_EQ(parser_.verify(identifier), NO_MATCH_FOUND);
        EXPECT_EQ(parser_.verifyXmpp(identifier), NO_MATCH_FOUND);
    }
}

TEST_F(AltNameParserImplTest, DnsNamesThatAreAllDroppedLeaveTheCommonName) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").altNames({der::dnsName(bytes("a\0.test"))})),
              SUCCESS);
    EXPECT_EQ(parser_.verify("cn.test"), SUCCESS);
}

TEST_F(AltNameParserImplTest, AnEmptyDnsNameIsKeptAndMatchesNothing) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").altNames({der::dnsName("")})), SUCCESS);
    EXPECT_EQ(parser_.getDnsNames(), Texts{""});
    EXPECT_EQ(parser_.verify(""), NO_MATCH_FOUND);
    EXPECT_EQ(parser_.verify("cn.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, AnEmptyIdentifierMatchesNothing) {
    EXPECT_EQ(parseAltNames({srvName("_xmpp-server."), xmppAddress("")}), SUCCESS);
    EXPECT_EQ(parser_.verify(""), NO_MATCH_FOUND);
    EXPECT_EQ(parser_.verifyXmpp(""), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, OfSeveralCommonNamesTheFirstCounts) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("first.test").commonName("second.test")), SUCCESS);
    EXPECT_EQ(parser_.verify("first.test"), SUCCESS);
    EXPECT_EQ(parser_.verify("second.test"), NO_MATCH_FOUND);
    EXPECT_EQ(parse(CertificateBuilder().commonName(bytes("a\0b")).commonName("second.test")), NO_IDENTITY);
    EXPECT_EQ(parser_.verify("second.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, ACommonNameOfAnyKindOfNarrowTextIsReadByItsBytes) {
    for (const int type : {V_ASN1_UTF8STRING, V_ASN1_PRINTABLESTRING, V_ASN1_T61STRING, V_ASN1_IA5STRING}) {
        EXPECT_EQ(parse(CertificateBuilder().subjectEntry(NID_commonName, type, "cn.test")), SUCCESS);
        EXPECT_EQ(parser_.verify("cn.test"), SUCCESS) << type;
    }
}

TEST_F(AltNameParserImplTest, ACommonNameOfWideCharactersHasNulsAndIsDropped) {
    EXPECT_EQ(parse(CertificateBuilder().subjectEntry(NID_commonName, V_ASN1_BMPSTRING,
                                                      der::widened("cn.test", 2))),
              NO_IDENTITY);
    EXPECT_EQ(parse(CertificateBuilder().subjectEntry(NID_commonName, V_ASN1_UNIVERSALSTRING,
                                                      der::widened("cn.test", 4))),
              NO_IDENTITY);
    EXPECT_EQ(parser_.verify("cn.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, OtherNamesOfWideCharactersHaveNulsAndAreDropped) {
    EXPECT_EQ(parseAltNames(
                  {der::otherName(XMPP_ADDRESS, der::value(der::BMP_STRING, der::widened("d.test", 2))),
                   der::otherName(SRV_NAME, der::value(der::UNIVERSAL_STRING, der::widened("d.test", 4)))}),
              NO_IDENTITY);
}

TEST_F(AltNameParserImplTest, OtherNamesOfWideCharactersWithoutANulAreReadByTheirBytesLikeAnyText) {
    const std::string bytes = "\x4E\x2D\x65\x87";  // two characters of a BMPString
    EXPECT_EQ(parseAltNames({der::otherName(XMPP_ADDRESS, der::value(der::BMP_STRING, bytes)),
                             der::otherName(SRV_NAME, der::value(der::UNIVERSAL_STRING, bytes))}),
              SUCCESS);
    EXPECT_EQ(parser_.getXmppAddresses(), Texts{bytes});
    EXPECT_EQ(parser_.getSrvNames(), Texts{bytes});
}

TEST_F(AltNameParserImplTest, AUtf8CommonNameMatchesItsOwnBytesOnly) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("b\xC3\xBC"
                                                    "cher.test")),
              SUCCESS);
    EXPECT_EQ(parser_.verify("b\xC3\xBC"
                             "cher.test"),
              SUCCESS);
    EXPECT_EQ(parser_.verify("B\xC3\xBC"
                             "CHER.test"),
              SUCCESS);
    EXPECT_EQ(parser_.verify("b\xC3\x9C"
                             "cher.test"),
              NO_MATCH_FOUND);
    EXPECT_EQ(parser_.verify("xn--bcher-kva.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, ThousandsOfNamesAreAllKept) {
    Texts names;
    for (int number = 0; number < 5000; ++number) {
        names.push_back(der::dnsName("host-" + std::to_string(number) + ".test"));
        names.push_back(srvName("_s" + std::to_string(number) + ".test"));
        names.push_back(xmppAddress("x" + std::to_string(number) + ".test"));
    }
    names.push_back(der::dnsName("*.last.test"));
    EXPECT_EQ(parseAltNames(names), SUCCESS);
    EXPECT_EQ(parser_.getDnsNames().size(), 5001U);
    EXPECT_EQ(parser_.getSrvNames().size(), 5000U);
    EXPECT_EQ(parser_.getXmppAddresses().size(), 5000U);
    EXPECT_EQ(parser_.verify("host-0.test"), SUCCESS);
    EXPECT_EQ(parser_.verify("a.last.test"), SUCCESS);
    EXPECT_TRUE(log_.contains("' found in dnsNames index: 5000"));
    EXPECT_EQ(parser_.verify("host-5000.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, AnotherCertificateMakesItForgetTheNamesOfTheOneBefore) {
    EXPECT_EQ(parse(CertificateBuilder().commonName("cn.test").altNames(
                  {der::dnsName("d.test"), srvName("_xmpp-server.s.test"), xmppAddress("x.test")})),
              SUCCESS);
    EXPECT_EQ(parseAltNames({der::dnsName("other.test")}), SUCCESS);
    EXPECT_EQ(parser_.getDnsNames(), Texts{"other.test"});
    EXPECT_EQ(parser_.getCommonName(), "");
    for (const char* name : {"cn.test", "d.test", "s.test", "x.test"}) {
        EXPECT_EQ(parser_.verifyXmpp(name), NO_MATCH_FOUND) << name;
    }
    EXPECT_EQ(parser_.parse(nullptr), CertIdentifierStatus::INTERNAL_ERROR);
    EXPECT_EQ(parser_.verify("other.test"), NO_MATCH_FOUND);
}

TEST_F(AltNameParserImplTest, LeavesNoErrorToTheHandshake) {
    const IssuedCertificate damaged = CertificateBuilder().rawExtension(SUBJECT_ALT_NAME, "damaged").build();
    const IssuedCertificate good = CertificateBuilder().commonName("cn.test").dnsNames({"d.test"}).build();
    ERR_clear_error();
    parser_.parse(damaged.get());
    parser_.parse(good.get());
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_F(AltNameParserImplTest, TheFactoryMakesParsersOfEitherMode) {
    AltNameParserFactory factory;
    const IssuedCertificate certificate = CertificateBuilder().dnsNames({"*.d.test"}).build();
    for (const bool ccMode : {false, true}) {
        const std::shared_ptr<AltNameParser> parser = factory.buildAltNameParser(ccMode);
        EXPECT_EQ(parser->parse(certificate.get()), SUCCESS);
        EXPECT_EQ(parser->verify("a.d.test"), ccMode ? NO_MATCH_FOUND : SUCCESS);
    }
}

}  // namespace
}  // namespace zeb::cert::test

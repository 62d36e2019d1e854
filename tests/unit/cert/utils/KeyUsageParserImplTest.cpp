#include "cert/utils/KeyUsageParserFactory.h"
#include "cert/utils/KeyUsageParserImpl.h"
#include "support/CertificateBuilder.h"
#include "support/Der.h"
#include "support/LogCapture.h"
#include "support/StoreContext.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert::test {
namespace {

namespace der = zeb::test::der;
using zeb::test::CertificateBuilder;
using zeb::test::IssuedCertificate;
using zeb::test::LogCapture;
using zeb::test::StoreContext;

constexpr char KEY_USAGE[] = "2.5.29.15";
constexpr char EXTENDED_KEY_USAGE_OID[] = "2.5.29.37";
constexpr char ANY_PURPOSE[] = "2.5.29.37.0";
constexpr char SERVER_AUTH_OID[] = "1.3.6.1.5.5.7.3.1";

const std::vector<BasicKeyUsage::Usage> ALL_BASIC = {
    BasicKeyUsage::DIGITAL_SIGNATURE, BasicKeyUsage::NON_REPUDIATION, BasicKeyUsage::KEY_ENCIPHERMENT,
    BasicKeyUsage::DATA_ENCIPHERMENT, BasicKeyUsage::KEY_AGREEMENT,   BasicKeyUsage::KEY_CERT_SIGN,
    BasicKeyUsage::CRL_SIGN,          BasicKeyUsage::ENCIPHER_ONLY,   BasicKeyUsage::DECIPHER_ONLY};

struct Purpose {
    ExtendedKeyUsage::Usage usage;
    const char* oid;
};

const std::vector<Purpose> ALL_PURPOSES = {
    {ExtendedKeyUsage::SERVER_AUTH, "1.3.6.1.5.5.7.3.1"},
    {ExtendedKeyUsage::CLIENT_AUTH, "1.3.6.1.5.5.7.3.2"},
    {ExtendedKeyUsage::CODE_SIGNING, "1.3.6.1.5.5.7.3.3"},
    {ExtendedKeyUsage::EMAIL_PROTECTION, "1.3.6.1.5.5.7.3.4"},
    {ExtendedKeyUsage::IPSEC_END_SYSTEM, "1.3.6.1.5.5.7.3.5"},
    {ExtendedKeyUsage::IPSEC_TUNNEL, "1.3.6.1.5.5.7.3.6"},
    {ExtendedKeyUsage::IPSEC_USER, "1.3.6.1.5.5.7.3.7"},
    {ExtendedKeyUsage::TIME_STAMPING, "1.3.6.1.5.5.7.3.8"},
    {ExtendedKeyUsage::OCSP_SIGN, "1.3.6.1.5.5.7.3.9"},
    {ExtendedKeyUsage::DVCS, "1.3.6.1.5.5.7.3.10"},
};

IssuedCertificate withKeyUsage(const std::string& value) {
    return CertificateBuilder().rawExtension(KEY_USAGE, value, true).build();
}

IssuedCertificate withPurposes(const std::vector<std::string>& purposes) {
    return CertificateBuilder().rawExtension(EXTENDED_KEY_USAGE_OID, der::extendedKeyUsage(purposes)).build();
}

class KeyUsageParserImplTest : public testing::Test {
protected:
    void parse(const IssuedCertificate& certificate) {
        ASSERT_EQ(parser_.parse(certificate.get()), CertKeyUsageResult::SUCCESS);
        ASSERT_TRUE(parser_.parsed());
    }

    bool has(BasicKeyUsage::Usage usage) const {
        return parser_.verifyBasicKeyUsage({usage}) == CertKeyUsageResult::SUCCESS;
    }

    bool has(ExtendedKeyUsage::Usage usage) const {
        return parser_.verifyExtendedKeyUsage({usage}) == CertKeyUsageResult::SUCCESS;
    }

    void expectAnswersNothing() const {
        EXPECT_FALSE(parser_.parsed());
        EXPECT_FALSE(parser_.hasBasicKeyUsage());
        EXPECT_FALSE(parser_.hasExtendedKeyUsage());
        EXPECT_FALSE(parser_.isAnyExtendedKeyUsageSet());
        EXPECT_EQ(parser_.verifyBasicKeyUsage({}), CertKeyUsageResult::INTERNAL_ERROR);
        EXPECT_EQ(parser_.verifyBasicKeyUsage(ALL_BASIC), CertKeyUsageResult::INTERNAL_ERROR);
        EXPECT_EQ(parser_.verifyExtendedKeyUsage({}), CertKeyUsageResult::INTERNAL_ERROR);
        EXPECT_EQ(parser_.verifyExtendedKeyUsage({ExtendedKeyUsage::SERVER_AUTH}),
                  CertKeyUsageResult::INTERNAL_ERROR);
    }

    KeyUsageParserImpl parser_;
    LogCapture log_;
};

TEST_F(KeyUsageParserImplTest, AParserThatWasNotFedAnswersWithAnError) {
    expectAnswersNothing();
}

TEST_F(KeyUsageParserImplTest, ANullCertificateIsAnError) {
    EXPECT_EQ(parser_.parse(nullptr), CertKeyUsageResult::INTERNAL_ERROR);
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "Invalid cert passed in!"));
    expectAnswersNothing();
}

TEST_F(KeyUsageParserImplTest, ANullCertificateMakesItForgetTheOneBefore) {
    parse(withPurposes({ANY_PURPOSE}));
    EXPECT_EQ(parser_.parse(nullptr), CertKeyUsageResult::INTERNAL_ERROR);
    expectAnswersNothing();
}

TEST_F(KeyUsageParserImplTest, ACertificateThatRestrictsNothingHasEveryBasicUsageAndNoPurpose) {
    parse(CertificateBuilder().build());
    EXPECT_TRUE(parser_.hasBasicKeyUsage());
    EXPECT_EQ(parser_.verifyBasicKeyUsage(ALL_BASIC), CertKeyUsageResult::SUCCESS);
    EXPECT_FALSE(parser_.hasExtendedKeyUsage());
    EXPECT_FALSE(parser_.isAnyExtendedKeyUsageSet());
    EXPECT_EQ(parser_.verifyExtendedKeyUsage({}), CertKeyUsageResult::SUCCESS);
    EXPECT_FALSE(has(ExtendedKeyUsage::SERVER_AUTH));
    EXPECT_TRUE(
        log_.contains(ZEBLOG_INFO,
                      "Basic Key Usage in cert: [DIGITAL_SIGNATURE, NON_REPUDIATION, KEY_ENCIPHERMENT, "
                      "DATA_ENCIPHERMENT, KEY_AGREEMENT, KEY_CERT_SIGN, CRL_SIGN, ENCIPHER_ONLY, "
                      "DECIPHER_ONLY], Extended Key Usage in cert: []"));
}

TEST_F(KeyUsageParserImplTest, EachBitOfTheExtensionIsOneUsage) {
    for (std::size_t bit = 0; bit < ALL_BASIC.size(); ++bit) {
        const std::string bytes =
            bit < 8 ? std::string(1, static_cast<char>(0x80U >> bit)) : std::string("\x00\x80", 2);
        parse(withKeyUsage(der::keyUsage(bytes)));
        EXPECT_TRUE(parser_.hasBasicKeyUsage());
        for (const BasicKeyUsage::Usage usage : ALL_BASIC) {
            EXPECT_EQ(has(usage), usage == ALL_BASIC[bit]) << usage << " of " << ALL_BASIC[bit];
        }
    }
}

TEST_F(KeyUsageParserImplTest, ACertificateForSigningCertificatesDoesNotSignHandshakes) {
    parse(CertificateBuilder().extension(NID_key_usage, "critical,keyCertSign").build());
    EXPECT_TRUE(parser_.hasBasicKeyUsage());
    EXPECT_EQ(parser_.verifyBasicKeyUsage({BasicKeyUsage::DIGITAL_SIGNATURE}),
              CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND);
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, "No matching key usage found in cert for: DIGITAL_SIGNATURE"));
}

TEST_F(KeyUsageParserImplTest, EveryUsageOfAListMustBeThereAndTheFirstThatIsNotIsTold) {
    parse(CertificateBuilder().extension(NID_key_usage, "digitalSignature,cRLSign").build());
    EXPECT_EQ(parser_.verifyBasicKeyUsage({BasicKeyUsage::DIGITAL_SIGNATURE, BasicKeyUsage::CRL_SIGN}),
              CertKeyUsageResult::SUCCESS);
    EXPECT_EQ(parser_.verifyBasicKeyUsage({BasicKeyUsage::DIGITAL_SIGNATURE, BasicKeyUsage::KEY_AGREEMENT,
                                           BasicKeyUsage::CRL_SIGN, BasicKeyUsage::KEY_CERT_SIGN}),
              CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND);
    EXPECT_EQ(log_.count("No matching key usage found in cert for: "), 1U);
    EXPECT_TRUE(log_.contains("No matching key usage found in cert for: KEY_AGREEMENT"));
    EXPECT_EQ(parser_.verifyBasicKeyUsage({}), CertKeyUsageResult::SUCCESS);
}

TEST_F(KeyUsageParserImplTest, AUsageThatIsNoneIsNeverThere) {
    parse(CertificateBuilder().build());
    EXPECT_FALSE(has(static_cast<BasicKeyUsage::Usage>(0)));
    EXPECT_FALSE(has(static_cast<BasicKeyUsage::Usage>(512)));
    EXPECT_FALSE(has(static_cast<BasicKeyUsage::Usage>(512 + 1)));
    EXPECT_FALSE(has(static_cast<BasicKeyUsage::Usage>(-1)));
    EXPECT_FALSE(has(static_cast<ExtendedKeyUsage::Usage>(0)));
}

TEST_F(KeyUsageParserImplTest, AKeyUsageWithoutABitIsNoUsage) {
    parse(withKeyUsage(der::keyUsage("")));
    EXPECT_FALSE(parser_.hasBasicKeyUsage());
    EXPECT_FALSE(has(BasicKeyUsage::DIGITAL_SIGNATURE));
}

TEST_F(KeyUsageParserImplTest, EachPurposeIsItsBit) {
    for (const Purpose& purpose : ALL_PURPOSES) {
        parse(withPurposes({purpose.oid}));
        EXPECT_TRUE(parser_.hasExtendedKeyUsage());
        EXPECT_FALSE(parser_.isAnyExtendedKeyUsageSet());
        for (const Purpose& other : ALL_PURPOSES) {
            EXPECT_EQ(has(other.usage), other.usage == purpose.usage)
                << other.usage << " of " << purpose.usage;
        }
    }
}

TEST_F(KeyUsageParserImplTest, SeveralPurposesAddUp) {
    parse(withPurposes({SERVER_AUTH_OID, "1.2.3.4.5", "1.3.6.1.5.5.7.3.9", SERVER_AUTH_OID, ANY_PURPOSE}));
    EXPECT_TRUE(parser_.hasExtendedKeyUsage());
    EXPECT_TRUE(parser_.isAnyExtendedKeyUsageSet());
    EXPECT_EQ(parser_.verifyExtendedKeyUsage({ExtendedKeyUsage::SERVER_AUTH, ExtendedKeyUsage::OCSP_SIGN}),
              CertKeyUsageResult::SUCCESS);
    EXPECT_TRUE(log_.contains(", Extended Key Usage in cert: [SERVER_AUTH, OCSP_SIGN]"));
    EXPECT_EQ(parser_.verifyExtendedKeyUsage(
                  {ExtendedKeyUsage::SERVER_AUTH, ExtendedKeyUsage::DVCS, ExtendedKeyUsage::CLIENT_AUTH}),
              CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND);
    EXPECT_EQ(log_.count("No matching extended key usage found in cert for: "), 1U);
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, "No matching extended key usage found in cert for: DVCS"));
}

TEST_F(KeyUsageParserImplTest, AnyPurposeAloneIsAPurposeWithoutABit) {
    parse(withPurposes({ANY_PURPOSE}));
    EXPECT_TRUE(parser_.hasExtendedKeyUsage());
    EXPECT_TRUE(parser_.isAnyExtendedKeyUsageSet());
    for (const Purpose& purpose : ALL_PURPOSES) {
        EXPECT_FALSE(has(purpose.usage)) << purpose.usage;
    }
    EXPECT_TRUE(log_.contains(", Extended Key Usage in cert: []"));
}

TEST_F(KeyUsageParserImplTest, AnyPurposeCountsWhereverItStandsInTheList) {
    parse(withPurposes({ANY_PURPOSE, SERVER_AUTH_OID, "1.2.3.4.5"}));
    EXPECT_TRUE(parser_.isAnyExtendedKeyUsageSet());
    EXPECT_TRUE(has(ExtendedKeyUsage::SERVER_AUTH));
    EXPECT_FALSE(has(ExtendedKeyUsage::CLIENT_AUTH));
}

TEST_F(KeyUsageParserImplTest, APurposeThatNobodyKnowsIsAPurposeWithoutABit) {
    parse(withPurposes({"1.2.3.4.5"}));
    EXPECT_TRUE(parser_.hasExtendedKeyUsage());
    EXPECT_FALSE(parser_.isAnyExtendedKeyUsageSet());
    EXPECT_FALSE(has(ExtendedKeyUsage::SERVER_AUTH));
}

TEST_F(KeyUsageParserImplTest, AnEmptyListOfPurposesIsNoPurpose) {
    parse(withPurposes({}));
    EXPECT_FALSE(parser_.hasExtendedKeyUsage());
}

TEST_F(KeyUsageParserImplTest, ADamagedKeyUsageHasNoUsage) {
    for (const std::string& value :
         {std::string(), std::string("\x03"), std::string("\x03\x7F\x07\x80"),
          std::string("\x04\x02\x07\x80"), std::string("\x03\x02\x09\x80"), std::string("\x03\x00", 2)}) {
        parse(withKeyUsage(value));
        EXPECT_FALSE(parser_.hasBasicKeyUsage()) << testing::PrintToString(value);
        EXPECT_FALSE(has(BasicKeyUsage::DIGITAL_SIGNATURE));
    }
}

TEST_F(KeyUsageParserImplTest, DamagedOrRepeatedPurposesAreNone) {
    const std::string good = der::extendedKeyUsage({SERVER_AUTH_OID});
    const auto damaged = [&](const std::string& value) {
        return CertificateBuilder().rawExtension(EXTENDED_KEY_USAGE_OID, value).build();
    };
    for (std::size_t length = 0; length < good.size(); ++length) {
        parse(damaged(good.substr(0, length)));
        EXPECT_FALSE(parser_.hasExtendedKeyUsage()) << length;
        EXPECT_FALSE(has(ExtendedKeyUsage::SERVER_AUTH)) << length;
    }
    parse(CertificateBuilder()
              .rawExtension(EXTENDED_KEY_USAGE_OID, good)
              .rawExtension(EXTENDED_KEY_USAGE_OID, good)
              .build());
    EXPECT_FALSE(parser_.hasExtendedKeyUsage());
}

TEST_F(KeyUsageParserImplTest, ACertificateWithADamagedUsageOrPurposeIsNotTrustedByThePlatform) {
    const IssuedCertificate root = CertificateBuilder().commonName("Root").ca().build();
    const auto trusted = [&](const char* extension, const std::string& value) {
        const IssuedCertificate leaf =
            CertificateBuilder().commonName("a.test").rawExtension(extension, value).issuedBy(root).build();
        const StoreContext context(leaf, {}, {root});
        return X509_verify_cert(context.get()) == 1;
    };
    EXPECT_TRUE(trusted(KEY_USAGE, der::keyUsage("\x80")));
    EXPECT_FALSE(trusted(KEY_USAGE, "\x03\x7F\x07\x80"));
    EXPECT_TRUE(trusted(EXTENDED_KEY_USAGE_OID, der::extendedKeyUsage({SERVER_AUTH_OID})));
    EXPECT_FALSE(trusted(EXTENDED_KEY_USAGE_OID, "\x30\x7F"));
}

TEST_F(KeyUsageParserImplTest, AnotherCertificateMakesItForgetTheOneBefore) {
    parse(withPurposes({SERVER_AUTH_OID, ANY_PURPOSE}));
    parse(withKeyUsage(der::keyUsage("\x04")));
    EXPECT_FALSE(parser_.hasExtendedKeyUsage());
    EXPECT_FALSE(parser_.isAnyExtendedKeyUsageSet());
    EXPECT_FALSE(has(ExtendedKeyUsage::SERVER_AUTH));
    EXPECT_FALSE(has(BasicKeyUsage::DIGITAL_SIGNATURE));
}

TEST_F(KeyUsageParserImplTest, LeavesNoErrorToTheHandshake) {
    const IssuedCertificate damaged = withKeyUsage("\x03");
    const IssuedCertificate damagedPurposes =
        CertificateBuilder().rawExtension(EXTENDED_KEY_USAGE_OID, "\x30\x7F").build();
    ERR_clear_error();
    parse(damaged);
    parse(damagedPurposes);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_F(KeyUsageParserImplTest, TheFactoryMakesANewOneEachTime) {
    KeyUsageParserFactory factory;
    const auto one = factory.buildKeyUsageParser();
    const auto other = factory.buildKeyUsageParser();
    EXPECT_NE(one, other);
    EXPECT_EQ(one->parse(CertificateBuilder().build().get()), CertKeyUsageResult::SUCCESS);
    EXPECT_TRUE(one->parsed());
    EXPECT_FALSE(other->parsed());
}

}  // namespace
}  // namespace zeb::cert::test

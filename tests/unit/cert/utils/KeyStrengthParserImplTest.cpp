#include "cert/utils/KeyStrengthParserFactory.h"
#include "cert/utils/KeyStrengthParserImpl.h"
#include "support/CertificateBuilder.h"
#include "support/LogCapture.h"

#include <string>
#include <utility>

#include <climits>
#include <gtest/gtest.h>
#include <openssl/err.h>

namespace zeb::cert::test {
namespace {

using zeb::test::CertificateBuilder;
using zeb::test::Key;
using zeb::test::Keys;
using zeb::test::LogCapture;

constexpr char STRONG_ENOUGH[] =
    "The check for the strength of the public key is not required as the key type is sufficiently strong.";

class KeyStrengthParserImplTest : public testing::Test {
protected:
    void parse(const Key& key) {
        ASSERT_EQ(parser_.parse(CertificateBuilder().key(key).build().get()), CertKeyStrengthResult::SUCCESS);
        ASSERT_TRUE(parser_.parsed());
    }

    void expectAnswersNothing() const {
        EXPECT_FALSE(parser_.parsed());
        for (const int bits : {INT_MIN, -1, 0, 1, 2048}) {
            EXPECT_EQ(parser_.verify(bits), CertKeyStrengthResult::INTERNAL_ERROR) << bits;
        }
    }

    KeyStrengthParserImpl parser_;
    LogCapture log_;
};

TEST_F(KeyStrengthParserImplTest, AParserThatWasNotFedAnswersWithAnError) {
    expectAnswersNothing();
}

TEST_F(KeyStrengthParserImplTest, ANullCertificateIsAnError) {
    EXPECT_EQ(parser_.parse(nullptr), CertKeyStrengthResult::INTERNAL_ERROR);
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "Invalid cert passed in!"));
    expectAnswersNothing();
}

TEST_F(KeyStrengthParserImplTest, ANullCertificateMakesItForgetTheOneBefore) {
    parse(Keys::ec());
    EXPECT_EQ(parser_.parse(nullptr), CertKeyStrengthResult::INTERNAL_ERROR);
    expectAnswersNothing();
}

TEST_F(KeyStrengthParserImplTest, AnRsaKeyOf1024BitsIsTooWeakFor2048) {
    parse(Keys::rsa(1024));
    EXPECT_EQ(parser_.verify(2048), CertKeyStrengthResult::FAILURE);
    EXPECT_EQ(parser_.verify(1025), CertKeyStrengthResult::FAILURE);
    EXPECT_EQ(parser_.verify(1024), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(parser_.verify(INT_MAX), CertKeyStrengthResult::FAILURE);
    EXPECT_EQ(parser_.verify(INT_MIN), CertKeyStrengthResult::SUCCESS);
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, "The public key is of type rsaEncryption with 1024 bits"));
    EXPECT_FALSE(log_.contains(STRONG_ENOUGH));
}

TEST_F(KeyStrengthParserImplTest, AnRsaKeyOf2048BitsIsStrongEnoughFor2048) {
    parse(Keys::rsa(2048));
    EXPECT_EQ(parser_.verify(2048), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(parser_.verify(2049), CertKeyStrengthResult::FAILURE);
}

TEST_F(KeyStrengthParserImplTest, AKeyOnAnEllipticCurveIsAlwaysStrongEnough) {
    parse(Keys::ec());
    EXPECT_EQ(parser_.verify(2048), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(parser_.verify(INT_MAX), CertKeyStrengthResult::SUCCESS);
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, STRONG_ENOUGH));
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, "The public key is of type id-ecPublicKey with 256 bits"));
}

TEST_F(KeyStrengthParserImplTest, KeysOfOtherTypesAreMeasured) {
    parse(Keys::dsa(1024));
    EXPECT_EQ(parser_.verify(1024), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(parser_.verify(2048), CertKeyStrengthResult::FAILURE);
    parse(Keys::rsaPss(1024));
    EXPECT_EQ(parser_.verify(1024), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(parser_.verify(2048), CertKeyStrengthResult::FAILURE);
    parse(Keys::ed25519());
    EXPECT_EQ(parser_.verify(128), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(parser_.verify(2048), CertKeyStrengthResult::FAILURE);
}

TEST_F(KeyStrengthParserImplTest, ACertificateWithoutAReadableKeyHasNoBits) {
    parse(Keys::ec());
    const auto certificate = CertificateBuilder().unreadablePublicKey().build();
    ERR_clear_error();
    EXPECT_EQ(parser_.parse(certificate.get()), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(ERR_peek_error(), 0U);
    EXPECT_TRUE(parser_.parsed());
    EXPECT_EQ(parser_.verify(1), CertKeyStrengthResult::FAILURE);
    EXPECT_EQ(parser_.verify(2048), CertKeyStrengthResult::FAILURE);
    EXPECT_EQ(parser_.verify(0), CertKeyStrengthResult::SUCCESS);
    EXPECT_TRUE(log_.contains("The public key is of type undefined with 0 bits"));
}

TEST_F(KeyStrengthParserImplTest, OnlyKeysOnEllipticCurvesNeedNoCheck) {
    for (int type = -1; type <= 2000; ++type) {
        EXPECT_EQ(KeyStrengthParserImpl::isKeyStrengthCheckRequiredForType(type), type != 408) << type;
    }
}

TEST_F(KeyStrengthParserImplTest, EveryKnownTypeHasItsNameAndNoOther) {
    const std::pair<int, const char*> rows[] = {
        {6, "rsaEncryption"},
        {19, "rsa"},
        {28, "dhKeyAgreement"},
        {66, "dsaWithSHA"},
        {67, "dsaEncryption-old"},
        {70, "dsaWithSHA1-old"},
        {113, "dsaWithSHA1"},
        {116, "dsaEncryption"},
        {408, "id-ecPublicKey"},
        {855, "hmac"},
        {894, "cmac"},
        {0, "undefined"},
        {-1, "undefined"},
        {7, "undefined"},
        {912, "undefined"},
        {1087, "undefined"},
    };
    for (const auto& [type, name] : rows) {
        EXPECT_STREQ(KeyStrengthParserImpl::publicKeyTypeToString(type), name) << type;
    }
}

TEST_F(KeyStrengthParserImplTest, TheFactoryMakesANewOneEachTime) {
    KeyStrengthParserFactory factory;
    const auto one = factory.buildKeyStrengthParser();
    const auto other = factory.buildKeyStrengthParser();
    EXPECT_EQ(one->parse(CertificateBuilder().build().get()), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(one->verify(2048), CertKeyStrengthResult::SUCCESS);
    EXPECT_EQ(other->verify(0), CertKeyStrengthResult::INTERNAL_ERROR);
}

}  // namespace
}  // namespace zeb::cert::test

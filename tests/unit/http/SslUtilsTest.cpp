#include "http/SSLData.h"
#include "http/SslUtils.h"
#include "support/FakeCertVerifier.h"
#include "support/LogCapture.h"

#include <memory>

#include <gmock/gmock.h>
#include <openssl/x509_vfy.h>

namespace zeb::http::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zeb::test::FakeCertVerifier;
using zeb::test::LogCapture;

class SslUtilsTest : public testing::Test {
protected:
    SslUtilsTest() {
        sslData.serverCurlFQDN = "host.example";
        sslData.referenceIdentifiers = {"given.example"};
        X509_STORE_CTX_init(context, nullptr, nullptr, nullptr);
    }
    ~SslUtilsTest() override { X509_STORE_CTX_free(context); }

    std::shared_ptr<FakeCertVerifier> setVerifier(bool answer) {
        auto verifier = std::make_shared<FakeCertVerifier>(answer);
        sslData.certVerifier = verifier;
        return verifier;
    }

    X509_STORE_CTX* const context = X509_STORE_CTX_new();
    SSLData sslData;
    LogCapture log;
};

TEST_F(SslUtilsTest, WithoutDataEveryCertificateIsRefused) {
    EXPECT_EQ(0, SslUtils::verifyCb(context, nullptr));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR,
                             "The private data passed to the verify callback from SSL is NULL, unable to "
                             "operate on it."));
    EXPECT_NE(X509_V_OK, X509_STORE_CTX_get_error(context));
}

TEST_F(SslUtilsTest, WithoutAVerifierEveryCertificateIsRefused) {
    EXPECT_EQ(0, SslUtils::verifyCb(context, &sslData));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "No Certificate Verifier set, rejecting the certificate"));
    EXPECT_NE(X509_V_OK, X509_STORE_CTX_get_error(context));
}

TEST_F(SslUtilsTest, AModelThatNobodyKnowsRefusesWithoutAsking) {
    const auto verifier = setVerifier(true);
    sslData.identityMatchModel = static_cast<IdentityMatchModel::Model>(2);
    EXPECT_EQ(0, SslUtils::verifyCb(context, &sslData));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "Unrecognized IdentityMatchModel value: 2"));
    EXPECT_TRUE(log.contains("Certificate NOT Verified by application using 2 identity matching model."));
    EXPECT_THAT(verifier->questions(), IsEmpty());
}

struct VerdictRow {
    const char* testName;
    IdentityMatchModel::Model model;
    bool answer;
    const char* text;
};

class SslUtilsVerdictTest : public SslUtilsTest, public testing::WithParamInterface<VerdictRow> {};

TEST_P(SslUtilsVerdictTest, IsTheVerifiers) {
    const auto verifier = setVerifier(GetParam().answer);
    sslData.identityMatchModel = GetParam().model;
    X509_STORE_CTX_set_error(context, X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT);
    EXPECT_EQ(GetParam().answer ? 1 : 0, SslUtils::verifyCb(context, &sslData));
    EXPECT_TRUE(log.contains(GetParam().text));
    EXPECT_EQ(1U, verifier->questions().size());
    EXPECT_EQ(GetParam().answer, X509_STORE_CTX_get_error(context) == X509_V_OK)
        << "libcurl reads it there, too";
}

TEST_P(SslUtilsVerdictTest, NeedsNoContext) {
    setVerifier(GetParam().answer);
    sslData.identityMatchModel = GetParam().model;
    EXPECT_EQ(GetParam().answer ? 1 : 0, SslUtils::verifyCb(nullptr, &sslData));
}

INSTANTIATE_TEST_SUITE_P(
    Models, SslUtilsVerdictTest,
    testing::Values(
        VerdictRow{"SoftAccepted", IdentityMatchModel::SOFT_MATCH, true,
                   "Certificate Verified by application using SOFT_MATCH identity matching model."},
        VerdictRow{"SoftRefused", IdentityMatchModel::SOFT_MATCH, false,
                   "Certificate NOT Verified by application using SOFT_MATCH identity matching model."},
        VerdictRow{"StrictAccepted", IdentityMatchModel::STRICT_MATCH, true,
                   "Certificate Verified by application using STRICT_MATCH identity matching model."},
        VerdictRow{"StrictRefused", IdentityMatchModel::STRICT_MATCH, false,
                   "Certificate NOT Verified by application using STRICT_MATCH identity matching model."}),
    [](const auto& row) { return row.param.testName; });

// What the verifier is asked, model by model

struct QuestionRow {
    const char* testName;
    const char* sniName;
    const char* display;
};

class SslUtilsQuestionTest : public SslUtilsTest, public testing::WithParamInterface<QuestionRow> {
protected:
    SslUtilsQuestionTest() {
        sslData.sniServerName = GetParam().sniName;
        sslData.identifierToDisplay = GetParam().display;
    }
};

TEST_P(SslUtilsQuestionTest, SoftlyAnyOfTheGivenNamesAndTheServersWillDo) {
    const auto verifier = setVerifier(true);
    EXPECT_TRUE(SslUtils::softIdentityMatch(&sslData, context));
    ASSERT_EQ(1U, verifier->questions().size());
    const FakeCertVerifier::Question question = verifier->questions()[0];
    EXPECT_TRUE(question.chain);
    EXPECT_EQ("", question.sniName);
    EXPECT_EQ("", question.identifier);
    EXPECT_EQ(GetParam().display, question.identifierToDisplay);
    if (*GetParam().sniName == '\0') {
        EXPECT_THAT(question.referenceIdentifiers, ElementsAre("given.example", "host.example"));
    } else {
        EXPECT_THAT(question.referenceIdentifiers,
                    ElementsAre("given.example", GetParam().sniName, "host.example"));
    }
    EXPECT_FALSE(sslData.referenceIdentifiersDefaulted);
}

TEST_P(SslUtilsQuestionTest, StrictlyTheServersOwnNameIsAskedForBesideTheGivenOnes) {
    const auto verifier = setVerifier(true);
    EXPECT_TRUE(SslUtils::strictIdentityMatch(&sslData, context));
    ASSERT_EQ(1U, verifier->questions().size());
    const FakeCertVerifier::Question question = verifier->questions()[0];
    EXPECT_TRUE(question.chain);
    EXPECT_EQ(GetParam().sniName, question.sniName);
    EXPECT_EQ("host.example", question.identifier);
    EXPECT_EQ(GetParam().display, question.identifierToDisplay);
    EXPECT_THAT(question.referenceIdentifiers, ElementsAre("given.example"));
    EXPECT_TRUE(sslData.referenceIdentifiersDefaulted);
}

INSTANTIATE_TEST_SUITE_P(Names, SslUtilsQuestionTest,
                         testing::Values(QuestionRow{"HostAlone", "", ""},
                                         QuestionRow{"HostAndDisplay", "", "Shown"},
                                         QuestionRow{"SniAndHost", "sni.example", ""},
                                         QuestionRow{"SniHostAndDisplay", "sni.example", "Shown"}),
                         [](const auto& row) { return row.param.testName; });

TEST_F(SslUtilsTest, SoftlyTheReferenceIdentifiersGrowWithEachVerification) {
    const auto verifier = setVerifier(false);
    sslData.sniServerName = "sni.example";
    EXPECT_FALSE(SslUtils::softIdentityMatch(&sslData, context));
    EXPECT_FALSE(SslUtils::softIdentityMatch(&sslData, context));
    EXPECT_THAT(sslData.referenceIdentifiers,
                ElementsAre("given.example", "sni.example", "host.example", "sni.example", "host.example"));
}

TEST_F(SslUtilsTest, StrictlyTheyStayAsTheyAre) {
    setVerifier(false);
    EXPECT_FALSE(SslUtils::strictIdentityMatch(&sslData, context));
    EXPECT_FALSE(SslUtils::strictIdentityMatch(&sslData, context));
    EXPECT_THAT(sslData.referenceIdentifiers, ElementsAre("given.example"));
}

}  // namespace
}  // namespace zeb::http::test

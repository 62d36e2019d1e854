#include "VerifierTestSupport.h"
#include "cert/common/CertVerifier.h"
#include "cert/common/CertVerifierFactory.h"
#include "cert/common/XmppCertVerifier.h"

#include <cstdlib>
#include <functional>

namespace zeb::cert::test {
namespace {

using testing::ElementsAre;

constexpr char SNI[] = "sni.test";
constexpr char MANDATORY[] = "mandatory.test";
constexpr char ONE[] = "one.test";
constexpr char SHOWN[] = "Shown";

/// What an overload is expected to have asked for, when the mandatory name alone matches.
struct Row {
    std::function<CertResult(CertVerifier&)> call;
    Names asked;
    std::string shown;
};

class CertVerifierTest : public FakedVerifierTest {
protected:
    CertVerifierTest() { altName_->names = {MANDATORY}; }

    template <typename Certificate>
    std::vector<Row> rowsFor(const Certificate* certificate) const {
        const Names references{"two.test", "three.test"};
        return {
            {[=](CertVerifier& v) { return v.verifyCertificate(certificate, std::string(ONE)); }, {ONE}, ONE},
            {[=](CertVerifier& v) {
                 return v.verifyCertificate(certificate, std::string(ONE), std::string(SHOWN));
             },
             {ONE},
             SHOWN},
            {[=](CertVerifier& v) { return v.verifyCertificate(certificate, references); }, references,
             "two.test"},
            {[=](CertVerifier& v) { return v.verifyCertificate(certificate, MANDATORY, references); },
             {MANDATORY, "two.test", "three.test"},
             MANDATORY},
            {[=](CertVerifier& v) { return v.verifyCertificate(certificate, references, SHOWN); }, references,
             SHOWN},
            {[=](CertVerifier& v) { return v.verifyCertificate(certificate, MANDATORY, references, SHOWN); },
             {MANDATORY, "two.test", "three.test"},
             SHOWN},
            {[=](CertVerifier& v) { return v.verifyCertificate(certificate, SNI, MANDATORY, references); },
             {SNI, MANDATORY, "two.test", "three.test"},
             SNI},
            {[=](CertVerifier& v) {
                 return v.verifyCertificate(certificate, SNI, MANDATORY, references, SHOWN);
             },
             {SNI, MANDATORY, "two.test", "three.test"},
             SHOWN},
        };
    }

    void expect(const std::vector<Row>& rows) {
        const auto verifier = verifierOver({CertStatus::VALID});
        for (std::size_t i = 0; i < rows.size(); ++i) {
            altName_->asked.clear();
            EXPECT_EQ(rows[i].call(*verifier).statuses, Statuses{CertStatus::CN_NO_MATCH}) << i + 1;
            EXPECT_EQ(altName_->asked, rows[i].asked) << i + 1;
            EXPECT_EQ(records().back().name, rows[i].shown) << i + 1;
        }
    }

    const StoreContext chain_{leaf_};
    const x509_store_ctx_st* const context_ = chain_.get();
};

TEST_F(CertVerifierTest, EachOverloadForACertificateBuildsItsIdentity) {
    const x509_st* const certificate = leaf_.get();
    expect(rowsFor(certificate));
    EXPECT_EQ(platform_->leaves, 8);
    EXPECT_EQ(platform_->chains, 0);
}

TEST_F(CertVerifierTest, EachOverloadForAChainBuildsItsIdentity) {
    expect(rowsFor(context_));
    EXPECT_EQ(platform_->leaves, 0);
    EXPECT_EQ(platform_->chains, 8);
}

TEST_F(CertVerifierTest, ANullCertificateOrChainIsAnInternalErrorInEachOverload) {
    const auto verifier = verifierOver({CertStatus::VALID});
    for (const auto& rows : {rowsFor(static_cast<const x509_st*>(nullptr)),
                             rowsFor(static_cast<const x509_store_ctx_st*>(nullptr))}) {
        for (const Row& row : rows) {
            EXPECT_EQ(row.call(*verifier).statuses, Statuses{CertStatus::INTERNAL_ERROR});
        }
    }
}

TEST_F(CertVerifierTest, NamesAreComparedAsHostNames) {
    verifierOver({CertStatus::VALID})->verifyCertificate(leaf_.get(), std::string(ONE));
    EXPECT_THAT(altName_->asked, ElementsAre(ONE));
    EXPECT_TRUE(altName_->askedForXmpp.empty());
    EXPECT_TRUE(log_.contains("Verifying identity '" + ZEBLogger_replacePIIData(ONE) + "'"));
    EXPECT_EQ(log_.text().find(ONE), std::string::npos);
}

TEST_F(CertVerifierTest, TheAsynchronousFormsBuildTheirIdentityAndAnswerAtOnceForAValidCertificate) {
    altName_->names = {ONE};
    const auto verifier = verifierOver({CertStatus::VALID});
    for (const bool shown : {false, true}) {
        CertResult result;
        unsigned int id = 5;
        EXPECT_TRUE(shown ? verifier->verifyCertificateAsync(context_, ONE, SHOWN, nullptr, result, id)
                          : verifier->verifyCertificateAsync(
                                context_, std::string(ONE),
                                std::shared_ptr<CertificateVerificationListener>(), result, id));
        EXPECT_EQ(id, 0U);
        EXPECT_EQ(result.result, CertResult::SUCCESS);
        EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), ONE);
    }
    EXPECT_THAT(altName_->asked, ElementsAre(ONE, ONE));
}

TEST_F(CertVerifierTest, TheAsynchronousFormsTellWhatIsShown) {
    altName_->names.clear();
    const auto verifier = verifierOver({CertStatus::VALID});
    CertResult result;
    unsigned int id = 5;
    EXPECT_TRUE(verifier->verifyCertificateAsync(context_, ONE, SHOWN, nullptr, result, id));
    EXPECT_EQ(records().back().name, SHOWN);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::CN_NO_MATCH});
    EXPECT_FALSE(verifier->verifyCertificateAsync(static_cast<const x509_store_ctx_st*>(nullptr), ONE, SHOWN,
                                                  nullptr, result, id));
}

// With real parsers and a real chain

TEST(CertVerifierOfRealCertificatesTest, AWildcardStandsForOneLabelAndForNoneInCommonCriteriaMode) {
    CertVerifier verifier(std::make_shared<FakePlatform>());
    const IssuedCertificate wildcard = CertificateBuilder().dnsNames({"*.example.test"}).build();
    EXPECT_EQ(verifier.verifyCertificate(wildcard.get(), "a.example.test").result, CertResult::SUCCESS);
    EXPECT_EQ(verifier.verifyCertificate(wildcard.get(), "a.b.example.test").statuses,
              Statuses{CertStatus::CN_NO_MATCH});
}

TEST(CertVerifierOfRealCertificatesTest, TheUsagesOfARealCertificateCount) {
    CertVerifier verifier(std::make_shared<FakePlatform>());
    const IssuedCertificate client =
        CertificateBuilder().dnsNames({"server.test"}).extension(NID_ext_key_usage, "clientAuth").build();
    const CertResult result = verifier.verifyCertificate(client.get(), "server.test");
    EXPECT_EQ(result.statuses, Statuses{CertStatus::WRONG_USAGE});
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND);
    const IssuedCertificate authority = CertificateBuilder().commonName("server.test").ca().build();
    EXPECT_EQ(verifier.verifyCertificate(authority.get(), "server.test").keyUsageResult,
              CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND);
}

TEST(CertVerifierOfRealCertificatesTest, TheSystemsTrustStoreKnowsNoCertificateThatWasMadeJustNow) {
    const auto verifier = CertVerifierFactory::createCertVerifier();
    const IssuedCertificate own = CertificateBuilder().dnsNames({"server.test"}).build();
    const CertResult result = verifier->verifyCertificate(own.get(), "server.test");
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::UNKNOWN});
    EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::SUCCESS);
}

// XMPP

class XmppCertVerifierTest : public FakedVerifierTest {
protected:
    XmppCertVerifierTest() { useFakes(*verifier_); }

    const std::shared_ptr<FakePlatform> trust_ = std::make_shared<FakePlatform>();
    const std::shared_ptr<XmppCertVerifier> verifier_ = std::make_shared<XmppCertVerifier>(trust_);
    const StoreContext chain_{leaf_};
    const x509_store_ctx_st* const context_ = chain_.get();
};

TEST_F(XmppCertVerifierTest, NamesAreComparedAsThoseOfXmppServers) {
    EXPECT_EQ(verifier_->verifyXmppCertificate(leaf_.get(), Names{ONE, "server.test"}).result,
              CertResult::SUCCESS);
    EXPECT_THAT(altName_->askedForXmpp, ElementsAre(ONE, "server.test"));
    EXPECT_TRUE(altName_->asked.empty());
    EXPECT_TRUE(log_.contains("Verifying XMPP identity '" + ZEBLogger_replacePIIData(ONE) + "'"));
}

TEST_F(XmppCertVerifierTest, EachFormTellsWhatIsShown) {
    const Names references{ONE};
    EXPECT_EQ(verifier_->verifyXmppCertificate(leaf_.get(), references).statuses,
              Statuses{CertStatus::CN_NO_MATCH});
    EXPECT_EQ(records().back().name, ONE);
    verifier_->verifyXmppCertificate(leaf_.get(), references, SHOWN);
    EXPECT_EQ(records().back().name, SHOWN);
    EXPECT_EQ(trust_->leaves, 2);
    verifier_->verifyXmppCertificate(context_, references);
    EXPECT_EQ(records().back().name, ONE);
    verifier_->verifyXmppCertificate(context_, references, SHOWN);
    EXPECT_EQ(records().back().name, SHOWN);
    EXPECT_EQ(trust_->chains, 2);
    CertResult result;
    unsigned int id = 5;
    EXPECT_TRUE(verifier_->verifyXmppCertificateAsync(context_, references, nullptr, result, id));
    EXPECT_EQ(records().back().name, ONE);
    EXPECT_TRUE(verifier_->verifyXmppCertificateAsync(context_, references, SHOWN, nullptr, result, id));
    EXPECT_EQ(records().back().name, SHOWN);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::CN_NO_MATCH});
    EXPECT_EQ(id, 0U);
}

TEST(XmppCertVerifierOfRealCertificatesTest, ADnsNameServesAsALastResort) {
    XmppCertVerifier verifier(std::make_shared<FakePlatform>());
    const IssuedCertificate server = CertificateBuilder().dnsNames({"im.example.test"}).build();
    EXPECT_EQ(verifier.verifyXmppCertificate(server.get(), Names{"im.example.test"}).result,
              CertResult::SUCCESS);
}

// The factory

class CertVerifierFactoryTest : public testing::Test {
protected:
    ~CertVerifierFactoryTest() override { CertVerifierFactory::setCertVerifier(nullptr); }
};

TEST_F(CertVerifierFactoryTest, EachVerifierIsANewOne) {
    const auto first = CertVerifierFactory::createCertVerifier();
    ASSERT_NE(first, nullptr);
    EXPECT_NE(first, CertVerifierFactory::createCertVerifier());
    const auto xmpp = CertVerifierFactory::createXmppCertVerifier();
    ASSERT_NE(xmpp, nullptr);
    EXPECT_NE(xmpp, CertVerifierFactory::createXmppCertVerifier());
}

TEST_F(CertVerifierFactoryTest, AVerifierOnceSetIsTheOneOfEveryCall) {
    const auto own = std::make_shared<CertVerifier>(std::make_shared<FakePlatform>());
    CertVerifierFactory::setCertVerifier(own);
    EXPECT_EQ(CertVerifierFactory::createCertVerifier(), own);
    EXPECT_EQ(CertVerifierFactory::createCertVerifier(), own);
    EXPECT_NE(CertVerifierFactory::createXmppCertVerifier(), nullptr) << "which is another class";
    CertVerifierFactory::setCertVerifier(nullptr);
    EXPECT_NE(CertVerifierFactory::createCertVerifier(), own);
}

TEST(CertVerifierFactoryDeathTest, TheBannerIsWrittenOnceAndNotForXmpp) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // a process that has written none yet
    EXPECT_EXIT(
        {
            const LogCapture log;
            CertVerifierFactory::createXmppCertVerifier();
            const bool none = log.linesOf("zeb.netutils.version").empty();
            CertVerifierFactory::createCertVerifier();
            CertVerifierFactory::createCertVerifier();
            std::_Exit(none && log.linesOf("zeb.netutils.version").size() == 1 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zeb::cert::test

#include "VerifierTestSupport.h"
#include "cert/IgnoreInvalidCertConditionPolicy.h"
#include "cert/InvalidCertManagementPolicy.h"
#include "cert/common/BaseCertVerifier.h"
#include "cert/utils/CertContainer.h"
#include "cert/utils/CertContainerFactory.h"
#include "cert/utils/CertificateDataFactory.h"
#include "cert/utils/CertificateDataImpl.h"
#include "cert/utils/Identity.h"
#include "cert/utils/IdentityBuilder.h"
#include "common/DefaultPoliciesStore.h"
#include "http/CommonCriteriaUsagePolicy.h"

#include <thread>

namespace zeb::cert::test {
namespace {

using common::Policy;
using http::CommonCriteriaUsagePolicy;
using Ignore = IgnoreInvalidCertConditionPolicy;
using testing::ElementsAre;
using testing::IsEmpty;

class BaseCertVerifierTest : public FakedVerifierTest {
protected:
    ~BaseCertVerifierTest() override { common::DefaultPoliciesStore::reset(); }

    std::shared_ptr<CertContainer> container() const {
        return CertContainerFactory().buildCertContainer(leaf_.get());
    }
    bool logged(int level, const std::string& text) const { return log_.contains(level, text); }
};

// The gate

TEST_F(BaseCertVerifierTest, AnInvalidContainerFailsBeforeAnyStep) {
    const auto verifier = verifierOver({CertStatus::VALID});
    const Identity identity = IdentityBuilder().referenceIdentifier("server.test").build();
    for (const auto& invalid :
         {std::shared_ptr<CertContainer>(),
          CertContainerFactory().buildCertContainer(static_cast<const x509_st*>(nullptr))}) {
        log_.clear();
        const CertResult result = verifier->verifyCertificate(invalid, identity);
        EXPECT_EQ(result.result, CertResult::FAILURE);
        EXPECT_EQ(result.statuses, Statuses{CertStatus::INTERNAL_ERROR});
        EXPECT_THAT(log_.linesOf("zeb.cert"), testing::Contains("Received an invalid certContainer"));
        EXPECT_TRUE(logged(ZEBLOG_ERROR, "Received an invalid certContainer"));
        EXPECT_FALSE(log_.contains("finalResult: "));
    }
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(BaseCertVerifierTest, AnInvalidIdentityFailsBeforeAnyParsing) {
    const auto verifier = verifierOver({CertStatus::VALID});
    const CertResult result = verifier->verifyCertificate(container(), IdentityBuilder().build());
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::INTERNAL_ERROR});
    EXPECT_TRUE(logged(ZEBLOG_ERROR, "Received an invalid identity"));
    EXPECT_THAT(altNameFactory_->modes, IsEmpty());
    EXPECT_EQ(platform_->leaves, 0);
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(BaseCertVerifierTest, OfTwoThatAreInvalidTheContainerIsComplainedOf) {
    verifierOver({CertStatus::VALID})->verifyCertificate(nullptr, IdentityBuilder().build());
    EXPECT_TRUE(logged(ZEBLOG_ERROR, "Received an invalid certContainer"));
    EXPECT_FALSE(log_.contains("Received an invalid identity"));
}

TEST_F(BaseCertVerifierTest, TheHandlerIsToldTheMatchedNameOrAsynchronouslyTheFirst) {
    const Identity identity = IdentityBuilder().referenceIdentifiers({"first.test", "server.test"}).build();
    const auto verifier = verifierOver({CertStatus::UNKNOWN});
    verifier->addPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    const CertResult waited = verifier->verifyCertificate(container(), identity);
    EXPECT_EQ(waited.identifierStatus.getMatchedIdentifier(), "server.test");
    CertResult atOnce;
    unsigned int id = 5;
    EXPECT_TRUE(verifier->verifyCertificateAsync(container(), identity, nullptr, atOnce, id));
    EXPECT_EQ(atOnce.identifierStatus.getMatchedIdentifier(), "first.test");
}

TEST_F(BaseCertVerifierTest, AMatchedNameIsKeptThoughTheChainIsNotTrusted) {
    const Identity identity = IdentityBuilder().referenceIdentifier("server.test").build();
    verifierOver({CertStatus::UNKNOWN})->verifyCertificate(container(), identity);
    EXPECT_EQ(identity.getMatchedReferenceIdentifier(), "server.test");
}

TEST_F(BaseCertVerifierTest, TheAsynchronousGateLeavesItsOutputUntouched) {
    const auto verifier = verifierOver({CertStatus::VALID});
    const Identity valid = IdentityBuilder().referenceIdentifier("server.test").build();
    CertResult result;
    result.statuses = {CertStatus::EXPIRED};
    unsigned int id = 77;
    EXPECT_FALSE(
        verifier->verifyCertificateAsync(std::shared_ptr<CertContainer>(), valid, nullptr, result, id));
    EXPECT_TRUE(logged(ZEBLOG_ERROR, "Received an invalid cert context"));
    EXPECT_FALSE(
        verifier->verifyCertificateAsync(container(), IdentityBuilder().build(), nullptr, result, id));
    EXPECT_TRUE(logged(ZEBLOG_ERROR, "Received an invalid identity"));
    EXPECT_EQ(result.statuses, Statuses{CertStatus::EXPIRED});
    EXPECT_EQ(id, 77U);
}

// Common Criteria

TEST_F(BaseCertVerifierTest, TheCommonCriteriaPolicyReachesTheParserOfNames) {
    const auto verifier = verifierOver({CertStatus::VALID});
    const auto verify = [&] { verifier->verifyCertificate(leaf_.get(), "server.test"); };
    verify();
    EXPECT_TRUE(logged(ZEBLOG_WARNING, "CC Mode usage policy not available."));
    verifier->addPolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_ENABLED_POLICY);
    verify();
    EXPECT_TRUE(logged(ZEBLOG_INFO, "CC Mode is enabled."));
    verifier->addPolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY);
    verify();
    EXPECT_TRUE(logged(ZEBLOG_INFO, "CC Mode is disabled."));
    EXPECT_THAT(altNameFactory_->modes, ElementsAre(false, true, false));
}

// Reading the certificate

TEST_F(BaseCertVerifierTest, NamesThatCantBeReadAreAnInternalErrorAndNoMismatch) {
    for (const auto answer : {CertIdentifierStatus::INTERNAL_ERROR, CertIdentifierStatus::NO_MATCH_FOUND,
                              CertIdentifierStatus::NO_IDENTITY_INFO_IN_CERT}) {
        altName_->parsing = answer;
        log_.clear();
        const CertResult result = verify();
        EXPECT_EQ(result.result, CertResult::FAILURE);
        EXPECT_EQ(result.statuses, Statuses{CertStatus::INTERNAL_ERROR});
        EXPECT_TRUE(logged(ZEBLOG_ERROR, "Parsing of alternative names failed"));
        EXPECT_TRUE(log_.contains("finalResult: ")) << "the handler has its say all the same";
        EXPECT_EQ(platform_->leaves, 0);
    }
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(BaseCertVerifierTest, UsagesThatCantBeReadAreAnInternalError) {
    usage_->parsing = CertKeyUsageResult::INTERNAL_ERROR;
    EXPECT_EQ(verify().statuses, Statuses{CertStatus::INTERNAL_ERROR});
    EXPECT_TRUE(logged(ZEBLOG_ERROR, "Parsing of key usage or extended key usage failed"));
    EXPECT_EQ(platform_->leaves, 0);
}

TEST_F(BaseCertVerifierTest, AKeyThatCantBeReadIsAnInternalError) {
    strength_->parsing = CertKeyStrengthResult::INTERNAL_ERROR;
    EXPECT_EQ(verify().statuses, Statuses{CertStatus::INTERNAL_ERROR});
    EXPECT_TRUE(logged(ZEBLOG_ERROR, "Parsing of key strength failed"));
    EXPECT_EQ(platform_->leaves, 0);
}

TEST_F(BaseCertVerifierTest, ReadingEndsAtTheFirstFailure) {
    altName_->parsing = CertIdentifierStatus::INTERNAL_ERROR;
    usage_->parsing = CertKeyUsageResult::INTERNAL_ERROR;
    strength_->parsing = CertKeyStrengthResult::INTERNAL_ERROR;
    verify();
    EXPECT_FALSE(log_.contains("Parsing of key"));
}

TEST_F(BaseCertVerifierTest, UsagesAreReadBeforeTheKey) {
    usage_->parsing = CertKeyUsageResult::INTERNAL_ERROR;
    strength_->parsing = CertKeyStrengthResult::INTERNAL_ERROR;
    verify();
    EXPECT_TRUE(log_.contains("Parsing of key usage"));
    EXPECT_FALSE(log_.contains("Parsing of key strength failed"));
}

TEST_F(BaseCertVerifierTest, ACertificateThatNamesNobodyIsAnInternalError) {
    CertVerifier verifier(std::make_shared<FakePlatform>());
    const IssuedCertificate nobody = CertificateBuilder().build();
    EXPECT_EQ(verifier.verifyCertificate(nobody.get(), "server.test").statuses,
              Statuses{CertStatus::INTERNAL_ERROR});
}

// The platform

TEST_F(BaseCertVerifierTest, TheTrustStoreIsAskedForWhatWasGiven) {
    const auto verifier = verifierOver({CertStatus::VALID});
    verifier->verifyCertificate(leaf_.get(), "server.test");
    EXPECT_EQ(platform_->leaves, 1);
    EXPECT_EQ(platform_->chains, 0);
    const StoreContext chain(leaf_);
    const x509_store_ctx_st* const context = chain.get();
    verifier->verifyCertificate(context, "server.test");
    EXPECT_EQ(platform_->leaves, 1);
    EXPECT_EQ(platform_->chains, 1);
}

TEST_F(BaseCertVerifierTest, WithoutATrustStoreEveryCertificateIsAnInternalError) {
    CertVerifier verifier(nullptr);
    useFakes(verifier);
    const CertResult result = verifier.verifyCertificate(leaf_.get(), "server.test");
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::INTERNAL_ERROR});
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "No platform verifier is available."));
}

// What comes of all checks together

TEST_F(BaseCertVerifierTest, ACertificateWithoutFaultIsValid) {
    const CertResult result = verify();
    EXPECT_EQ(result.result, CertResult::SUCCESS);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::VALID});
    EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::SUCCESS);
    EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), "server.test");
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::SUCCESS);
    EXPECT_EQ(result.keyStrengthResult, CertKeyStrengthResult::SUCCESS);
    EXPECT_FALSE(result.fingerprintValid);
}

TEST_F(BaseCertVerifierTest, ATrustedChainForAnotherNameIsAMismatchAlone) {
    altName_->names.clear();
    const CertResult result = verify();
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::CN_NO_MATCH});
    EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::NO_MATCH_FOUND);
    EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), "");
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::SUCCESS);
    EXPECT_EQ(result.keyStrengthResult, CertKeyStrengthResult::SUCCESS);
}

TEST_F(BaseCertVerifierTest, AnUntrustedChainForAnotherNameIsBoth) {
    altName_->names.clear();
    EXPECT_EQ(verify({CertStatus::UNKNOWN}).statuses,
              (Statuses{CertStatus::UNKNOWN, CertStatus::CN_NO_MATCH}));
}

TEST_F(BaseCertVerifierTest, AnUntrustedChainForTheRightNameIsThePlatformsFaultAlone) {
    const CertResult result = verify({CertStatus::EXPIRED, CertStatus::UNTRUSTED_ROOT});
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.statuses, (Statuses{CertStatus::EXPIRED, CertStatus::UNTRUSTED_ROOT}));
    EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::SUCCESS);
    EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), "server.test");
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::SUCCESS);
}

TEST_F(BaseCertVerifierTest, NothingFromThePlatformCountsAsTrust) {
    EXPECT_EQ(verify({}).result, CertResult::SUCCESS);
}

TEST_F(BaseCertVerifierTest, AllChecksRunWhateverTheOthersFound) {
    const FipsMode fips;
    altName_->names.clear();
    usage_->hasBasic = true;
    strength_->answer = CertKeyStrengthResult::FAILURE;
    const CertResult result = verify({CertStatus::UNKNOWN});
    EXPECT_EQ(result.statuses, (Statuses{CertStatus::CN_NO_MATCH, CertStatus::WRONG_USAGE,
                                         CertStatus::WEAK_KEY, CertStatus::UNKNOWN}));
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND);
    EXPECT_EQ(result.keyStrengthResult, CertKeyStrengthResult::FAILURE);
}

// Identity

enum class Given { NOT, MATCHING, OTHER };
enum class References { FIRST_MATCHES, SECOND_MATCHES, NONE_MATCHES };

struct IdentityRow {
    Given sni;
    Given mandatory;
    References references;
    std::string matched;  ///< "" for a mismatch, "invalid" for an identity that can't be one
    Names asked;
};

void PrintTo(const IdentityRow& row, std::ostream* stream) {
    *stream << static_cast<int>(row.sni) << static_cast<int>(row.mandatory)
            << static_cast<int>(row.references);
}

std::vector<IdentityRow> identityRows() {
    using R = References;
    return {
        {Given::NOT, Given::NOT, R::FIRST_MATCHES, "one", {"one"}},
        {Given::NOT, Given::NOT, R::SECOND_MATCHES, "two", {"one", "two"}},
        {Given::NOT, Given::NOT, R::NONE_MATCHES, "", {"one", "two"}},
        {Given::NOT, Given::MATCHING, R::FIRST_MATCHES, "mandatory", {"mandatory", "one"}},
        {Given::NOT, Given::MATCHING, R::SECOND_MATCHES, "mandatory", {"mandatory", "one", "two"}},
        {Given::NOT, Given::MATCHING, R::NONE_MATCHES, "", {"mandatory", "one", "two"}},
        {Given::NOT, Given::OTHER, R::FIRST_MATCHES, "", {"mandatory"}},
        {Given::NOT, Given::OTHER, R::SECOND_MATCHES, "", {"mandatory"}},
        {Given::NOT, Given::OTHER, R::NONE_MATCHES, "", {"mandatory"}},
        {Given::MATCHING, Given::NOT, R::FIRST_MATCHES, "invalid", {}},
        {Given::MATCHING, Given::NOT, R::SECOND_MATCHES, "invalid", {}},
        {Given::MATCHING, Given::NOT, R::NONE_MATCHES, "invalid", {}},
        {Given::MATCHING, Given::MATCHING, R::FIRST_MATCHES, "sni", {"sni"}},
        {Given::MATCHING, Given::MATCHING, R::SECOND_MATCHES, "sni", {"sni"}},
        {Given::MATCHING, Given::MATCHING, R::NONE_MATCHES, "sni", {"sni"}},
        {Given::MATCHING, Given::OTHER, R::FIRST_MATCHES, "sni", {"sni"}},
        {Given::MATCHING, Given::OTHER, R::SECOND_MATCHES, "sni", {"sni"}},
        {Given::MATCHING, Given::OTHER, R::NONE_MATCHES, "sni", {"sni"}},
        {Given::OTHER, Given::NOT, R::FIRST_MATCHES, "invalid", {}},
        {Given::OTHER, Given::NOT, R::SECOND_MATCHES, "invalid", {}},
        {Given::OTHER, Given::NOT, R::NONE_MATCHES, "invalid", {}},
        {Given::OTHER, Given::MATCHING, R::FIRST_MATCHES, "mandatory", {"sni", "mandatory", "one"}},
        {Given::OTHER, Given::MATCHING, R::SECOND_MATCHES, "mandatory", {"sni", "mandatory", "one", "two"}},
        {Given::OTHER, Given::MATCHING, R::NONE_MATCHES, "", {"sni", "mandatory", "one", "two"}},
        {Given::OTHER, Given::OTHER, R::FIRST_MATCHES, "", {"sni", "mandatory"}},
        {Given::OTHER, Given::OTHER, R::SECOND_MATCHES, "", {"sni", "mandatory"}},
        {Given::OTHER, Given::OTHER, R::NONE_MATCHES, "", {"sni", "mandatory"}},
    };
}

class IdentityCheckTest : public BaseCertVerifierTest, public testing::WithParamInterface<IdentityRow> {};

TEST_P(IdentityCheckTest, SniAloneElseTheMandatoryOneAndAReference) {
    const IdentityRow& row = GetParam();
    altName_->names.clear();
    IdentityBuilder builder;
    builder.referenceIdentifiers({" ", "one", " two "}).identifierToDisplay("shown");
    if (row.sni != Given::NOT) {
        builder.referenceIdentifierForSNI("sni");
    }
    if (row.mandatory != Given::NOT) {
        builder.mandatoryReferenceIdentifier("mandatory");
    }
    const std::vector<std::pair<bool, std::string>> carried = {
        {row.sni == Given::MATCHING, "sni"},
        {row.mandatory == Given::MATCHING, "mandatory"},
        {row.references == References::FIRST_MATCHES, "one"},
        {row.references == References::SECOND_MATCHES, "two"}};
    for (const auto& [isCarried, name] : carried) {
        if (isCarried) {
            altName_->names.insert(name);
        }
    }
    const Identity identity = builder.build();
    const CertResult result = verifierOver({CertStatus::VALID})->verifyCertificate(container(), identity);
    EXPECT_EQ(altName_->asked, row.asked);
    if (row.matched == "invalid") {
        EXPECT_EQ(result.statuses, Statuses{CertStatus::INTERNAL_ERROR});
    } else if (row.matched.empty()) {
        EXPECT_EQ(result.result, CertResult::FAILURE);
        EXPECT_EQ(result.statuses, Statuses{CertStatus::CN_NO_MATCH});
        EXPECT_EQ(result.identifierStatus.getStatus(), CertIdentifierStatus::NO_MATCH_FOUND);
        EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), "");
        EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Verification of identity: "));
    } else {
        EXPECT_EQ(result.result, CertResult::SUCCESS);
        EXPECT_EQ(result.identifierStatus.getMatchedIdentifier(), row.matched);
        EXPECT_EQ(identity.getMatchedReferenceIdentifier(), row.matched);
    }
}

INSTANTIATE_TEST_SUITE_P(AllCombinations, IdentityCheckTest, testing::ValuesIn(identityRows()));

TEST_F(BaseCertVerifierTest, TheLogOfTheIdentityCheckHidesTheNames) {
    altName_->names = {"mandatory.test"};
    verifierOver({CertStatus::VALID})
        ->verifyCertificate(leaf_.get(), "mandatory.test", Names{"one.test", "two.test"});
    const auto hidden = [](const std::string& name) { return ZEBLogger_replacePIIData(name); };
    EXPECT_TRUE(log_.contains("About to check for an Identity Match."));
    EXPECT_TRUE(log_.contains("Verification of identity succeeded. Matched identifier : '" +
                              hidden("mandatory.test") + "'"));
    EXPECT_TRUE(logged(ZEBLOG_ERROR, "Verification of identity: '" + hidden("one.test") + "' '" +
                                         hidden("two.test") + "'  failed."));
    for (const char* const name : {"mandatory.test", "one.test", "two.test"}) {
        EXPECT_EQ(log_.text().find(name), std::string::npos);
    }
}

// Usage

TEST_F(BaseCertVerifierTest, AUsageParserThatHasReadNothingIsAnInternalError) {
    usage_->hasBeenParsed = false;
    const CertResult result = verify();
    EXPECT_EQ(result.statuses, Statuses{CertStatus::INTERNAL_ERROR});
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::INTERNAL_ERROR);
}

TEST_F(BaseCertVerifierTest, AnyPurposeMakesUpForAMissingOneButNotForAFailedLook) {
    usage_->hasExtended = true;
    usage_->any = true;
    EXPECT_EQ(verify().keyUsageResult, CertKeyUsageResult::SUCCESS);
    usage_->otherwise = CertKeyUsageResult::INTERNAL_ERROR;
    const CertResult result = verify();
    EXPECT_EQ(result.statuses, Statuses{CertStatus::WRONG_USAGE});
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::INTERNAL_ERROR);
}

struct UsageRow {
    std::string about;
    bool hasBasic;
    std::set<BasicKeyUsage::Usage> basic;
    bool hasExtended;
    std::set<ExtendedKeyUsage::Usage> extended;
    bool any;
    CertKeyUsageResult::Result expected;
};

TEST_F(BaseCertVerifierTest, AServersKeySignsOrEnciphersAndServes) {
    constexpr auto NO_BASIC = CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND;
    constexpr auto NO_EXTENDED = CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND;
    constexpr auto SUCCESS = CertKeyUsageResult::SUCCESS;
    const std::vector<UsageRow> rows = {
        {"nothing is restricted", false, {}, false, {}, false, SUCCESS},
        {"it signs", true, {BasicKeyUsage::DIGITAL_SIGNATURE}, false, {}, false, SUCCESS},
        {"it enciphers keys", true, {BasicKeyUsage::KEY_ENCIPHERMENT}, false, {}, false, SUCCESS},
        {"it signs certificates", true, {BasicKeyUsage::KEY_CERT_SIGN}, false, {}, false, NO_BASIC},
        {"it serves", false, {}, true, {ExtendedKeyUsage::SERVER_AUTH}, false, SUCCESS},
        {"it is a client's", false, {}, true, {ExtendedKeyUsage::CLIENT_AUTH}, false, NO_EXTENDED},
        {"any purpose will do", false, {}, true, {}, true, SUCCESS},
        {"any purpose beside a client's", false, {}, true, {ExtendedKeyUsage::CLIENT_AUTH}, true, SUCCESS},
        {"the wrong usage, the right purpose",
         true,
         {BasicKeyUsage::CRL_SIGN},
         true,
         {ExtendedKeyUsage::SERVER_AUTH},
         true,
         NO_BASIC},
        {"the right usage, the wrong purpose",
         true,
         {BasicKeyUsage::DIGITAL_SIGNATURE},
         true,
         {ExtendedKeyUsage::CODE_SIGNING},
         false,
         NO_EXTENDED},
    };
    for (const UsageRow& row : rows) {
        usage_->hasBasic = row.hasBasic;
        usage_->basic = row.basic;
        usage_->hasExtended = row.hasExtended;
        usage_->extended = row.extended;
        usage_->any = row.any;
        const CertResult result = verify();
        EXPECT_EQ(result.keyUsageResult, row.expected) << row.about;
        EXPECT_EQ(result.result, row.expected == SUCCESS ? CertResult::SUCCESS : CertResult::FAILURE)
            << row.about;
        EXPECT_EQ(result.statuses,
                  Statuses{row.expected == SUCCESS ? CertStatus::VALID : CertStatus::WRONG_USAGE})
            << row.about;
    }
}

TEST_F(BaseCertVerifierTest, WithoutRestrictionsTheUsageCountsAsVerifiedAndTheLogSaysSo) {
    verify();
    EXPECT_TRUE(logged(ZEBLOG_INFO,
                       "No basic key usage extension in the cert. Considering the KeyUsage as verified"));
    EXPECT_TRUE(logged(ZEBLOG_INFO,
                       "No extended key usage extension in the cert. Considering the ExtendedKeyUsage as "
                       "verified"));
}

// Strength

TEST_F(BaseCertVerifierTest, AStrengthParserThatHasReadNothingIsAnInternalError) {
    strength_->hasBeenParsed = false;
    const CertResult result = verify();
    EXPECT_EQ(result.statuses, Statuses{CertStatus::INTERNAL_ERROR});
    EXPECT_EQ(result.keyStrengthResult, CertKeyStrengthResult::INTERNAL_ERROR);
}

TEST_F(BaseCertVerifierTest, OutsideFipsModeNoMinimumApplies) {
    strength_->answer = CertKeyStrengthResult::FAILURE;
    EXPECT_EQ(verify().result, CertResult::SUCCESS);
    EXPECT_THAT(strength_->asked, IsEmpty());
}

TEST_F(BaseCertVerifierTest, FipsModeDemandsTwoThousandAndFortyEightBits) {
    const FipsMode fips;
    EXPECT_EQ(verify().result, CertResult::SUCCESS);
    EXPECT_THAT(strength_->asked, ElementsAre(2048));
    for (const auto answer : {CertKeyStrengthResult::FAILURE, CertKeyStrengthResult::INTERNAL_ERROR}) {
        strength_->answer = answer;
        const CertResult result = verify();
        EXPECT_EQ(result.statuses, Statuses{CertStatus::WEAK_KEY});
        EXPECT_EQ(result.keyStrengthResult, answer);
    }
}

TEST_F(BaseCertVerifierTest, ARealKeyOfATooFewBitsFailsInFipsMode) {
    const IssuedCertificate weak =
        CertificateBuilder().commonName("server.test").key(zeb::test::Keys::rsa(1024)).build();
    CertVerifier verifier(std::make_shared<FakePlatform>());
    EXPECT_EQ(verifier.verifyCertificate(weak.get(), "server.test").result, CertResult::SUCCESS);
    const FipsMode fips;
    EXPECT_EQ(verifier.verifyCertificate(weak.get(), "server.test").statuses, Statuses{CertStatus::WEAK_KEY});
}

// Diagnostics

TEST_F(BaseCertVerifierTest, ASuccessLeavesARecordOfTheMatchedName) {
    verifierOver({CertStatus::VALID})->verifyCertificate(leaf_.get(), "server.test", "The server");
    ASSERT_EQ(records().size(), 1U);
    const ZEBDiagnostics::Record record = records().front();
    EXPECT_EQ(static_cast<int>(record.type), 0);
    EXPECT_EQ(static_cast<int>(record.section), 6);
    EXPECT_EQ(record.name, "server.test");
    EXPECT_EQ(record.value, "VALID");
    EXPECT_EQ(record.flag, 0);
    EXPECT_EQ(record.text, "");
    EXPECT_EQ(record.furtherText, "");
}

TEST_F(BaseCertVerifierTest, AFailureLeavesARecordOfWhatWasShownAndWhy) {
    altName_->names.clear();
    verifierOver({CertStatus::UNKNOWN})->verifyCertificate(leaf_.get(), "server.test", "The server");
    ASSERT_EQ(records().size(), 1U);
    const ZEBDiagnostics::Record record = records().front();
    EXPECT_EQ(static_cast<int>(record.type), 1);
    EXPECT_EQ(static_cast<int>(record.section), 6);
    EXPECT_EQ(record.name, "The server");
    EXPECT_EQ(record.value, "[CN_NO_MATCH UNKNOWN]");
    EXPECT_EQ(record.flag, 0);
    EXPECT_EQ(record.text, "");
    EXPECT_EQ(record.furtherText, "");
}

// Conditions that are ignored

TEST_F(BaseCertVerifierTest, AnIgnoredConditionAloneBecomesASuccessWithNothingLeft) {
    usage_->hasBasic = true;
    const auto verifier = verifierOver({CertStatus::VALID});
    verifier->addPolicy(Ignore::IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY);
    verifier->addPolicy(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY);
    const CertResult result = verifier->verifyCertificate(leaf_.get(), "server.test");
    EXPECT_EQ(result.result, CertResult::SUCCESS);
    EXPECT_THAT(result.statuses, IsEmpty());
    EXPECT_EQ(result.keyUsageResult, CertKeyUsageResult::SUCCESS) << "a success is one throughout";
    EXPECT_TRUE(log_.contains("Setting the certificate verification result to success."));
    EXPECT_FALSE(log_.contains("The policy has to be enforced.")) << "the user is not asked";
    EXPECT_EQ(records().at(0).value, "[WRONG_USAGE]") << "the record tells what was found";
}

TEST_F(BaseCertVerifierTest, WhatIsNotIgnoredStillFails) {
    usage_->hasBasic = true;
    const auto verifier = verifierOver({CertStatus::UNKNOWN});
    verifier->addPolicy(Ignore::IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY);
    const CertResult result = verifier->verifyCertificate(leaf_.get(), "server.test");
    EXPECT_EQ(result.result, CertResult::FAILURE);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::UNKNOWN});
}

TEST_F(BaseCertVerifierTest, WithoutSuchAPolicyNothingIsIgnored) {
    verify({CertStatus::UNKNOWN});
    EXPECT_TRUE(log_.contains("Ignore invalid cert condition policy not available, not taking any action."));
    log_.clear();
    verify();
    EXPECT_TRUE(log_.contains("Certificate verification was successful, not applying policy."));
}

// Policies

TEST_F(BaseCertVerifierTest, ANullPolicyIsIgnored) {
    const auto verifier = verifierOver({CertStatus::VALID});
    const auto before = verifier->getAllPolicies();
    verifier->addPolicy(nullptr);
    EXPECT_EQ(verifier->getAllPolicies(), before);
}

TEST_F(BaseCertVerifierTest, APolicyForInvalidCertificatesReachesTheHandlerAndIsLogged) {
    const auto verifier = verifierOver({CertStatus::UNKNOWN});
    verifier->addPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    EXPECT_TRUE(log_.contains("Adding INVALID_CERT_MANAGEMENT policy : 1"));
    EXPECT_EQ(verifier->getPolicy(Policy::PolicyNature::INVALID_CERT_MANAGEMENT),
              InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    const CertResult result = verifier->verifyCertificate(leaf_.get(), "server.test");
    EXPECT_EQ(result.result, CertResult::SUCCESS);
    EXPECT_EQ(result.statuses, Statuses{CertStatus::VALID});
}

TEST_F(BaseCertVerifierTest, ARemovedPolicyDecidesNothingAnyMore) {
    const auto verifier = verifierOver({CertStatus::UNKNOWN});
    verifier->addPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    verifier->removePolicy(Policy::PolicyNature::INVALID_CERT_MANAGEMENT);
    EXPECT_EQ(verifier->verifyCertificate(leaf_.get(), "server.test").result, CertResult::FAILURE);
    verifier->addPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    verifier->resetForTesting();
    EXPECT_EQ(verifier->verifyCertificate(leaf_.get(), "server.test").result, CertResult::FAILURE);
}

TEST_F(BaseCertVerifierTest, AWeakKeyIsNeverIgnoredInFipsMode) {
    const FipsMode fips;
    strength_->answer = CertKeyStrengthResult::FAILURE;
    const auto verifier = verifierOver({CertStatus::VALID});
    verifier->addPolicy(Ignore::IGNORE_WEAK_KEY_ERRORS_POLICY);
    EXPECT_EQ(verifier->verifyCertificate(leaf_.get(), "server.test").statuses,
              Statuses{CertStatus::WEAK_KEY});
    EXPECT_EQ(verifier->getPolicy(Policy::PolicyNature::IGNORE_INVALID_CERT_CONDITION),
              Ignore::DO_NOT_IGNORE_FALURE_CONDITIONS_POLICY);
}

TEST_F(BaseCertVerifierTest, FipsModeLeavesOtherConditionsToBeIgnored) {
    const FipsMode fips;
    const auto verifier = verifierOver({CertStatus::REVOCATION_OFFLINE});
    verifier->addPolicy(Ignore::IGNORE_REVOCATION_INFO_UNAVAILABLE_ERRORS_POLICY->merge(
        Ignore::IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY));
    EXPECT_EQ(verifier->verifyCertificate(leaf_.get(), "server.test").result, CertResult::SUCCESS);
    usage_->hasBasic = true;
    EXPECT_EQ(verifier->verifyCertificate(leaf_.get(), "server.test").statuses,
              Statuses{CertStatus::WRONG_USAGE});
}

TEST_F(BaseCertVerifierTest, OutsideFipsModeAPolicyStandsAsItWasGiven) {
    const auto verifier = verifierOver({CertStatus::VALID});
    verifier->addPolicy(Ignore::IGNORE_WEAK_KEY_ERRORS_POLICY);
    EXPECT_EQ(verifier->getPolicy(Policy::PolicyNature::IGNORE_INVALID_CERT_CONDITION),
              Ignore::IGNORE_WEAK_KEY_ERRORS_POLICY);
}

TEST_F(BaseCertVerifierTest, ADefaultOfTheStoreReachesBothWithoutTheFilterOfFipsMode) {
    const FipsMode fips;
    strength_->answer = CertKeyStrengthResult::FAILURE;
    common::DefaultPoliciesStore::setPolicy(Ignore::IGNORE_WEAK_KEY_ERRORS_POLICY);
    EXPECT_EQ(verify().result, CertResult::SUCCESS);
    common::DefaultPoliciesStore::setPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    EXPECT_EQ(verify({CertStatus::UNKNOWN}).result, CertResult::SUCCESS);
}

TEST_F(BaseCertVerifierTest, ALaterChangeOfTheStoreReachesNoVerifier) {
    const auto verifier = verifierOver({CertStatus::UNKNOWN});
    common::DefaultPoliciesStore::setPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    common::DefaultPoliciesStore::notifyObservers();
    EXPECT_EQ(verifier->verifyCertificate(leaf_.get(), "server.test").result, CertResult::FAILURE);
}

// Factories

TEST_F(BaseCertVerifierTest, ANullFactoryLeavesTheFormerOne) {
    CertVerifier verifier(std::make_shared<FakePlatform>());
    verifier.setCertContainerFactory(nullptr);
    verifier.setCertificateDataFactory(nullptr);
    verifier.setAltNameParserFactory(nullptr);
    verifier.setKeyUsageParserFactory(nullptr);
    verifier.setKeyStrengthParserFactory(nullptr);
    EXPECT_EQ(verifier.verifyCertificate(leaf_.get(), "server.test").result, CertResult::SUCCESS);
}

class CountingContainerFactory : public CertContainerFactory {
public:
    std::shared_ptr<CertContainer> buildCertContainer(const x509_st* leafCert) override {
        ++built;
        return CertContainerFactory::buildCertContainer(leafCert);
    }
    using CertContainerFactory::buildCertContainer;
    int built = 0;
};

class CountingDataFactory : public CertificateDataFactory {
public:
    std::shared_ptr<CertificateData> buildCertificateData(std::shared_ptr<CertContainer>) override {
        ++built;
        return std::make_shared<CertificateDataImpl>("print", Names{}, "");
    }
    using CertificateDataFactory::buildCertificateData;
    int built = 0;
};

TEST_F(BaseCertVerifierTest, AGivenFactoryTakesThePlaceOfTheLibrarysOwn) {
    const auto verifier = verifierOver({CertStatus::VALID});
    const auto containers = std::make_shared<CountingContainerFactory>();
    const auto data = std::make_shared<CountingDataFactory>();
    verifier->setCertContainerFactory(containers);
    verifier->setCertificateDataFactory(data);
    verifier->verifyCertificate(leaf_.get(), "server.test");
    EXPECT_EQ(containers->built, 1);
    EXPECT_EQ(data->built, 1);
}

// Threads

TEST_F(BaseCertVerifierTest, FiftyThreadsMayVerifyThroughOneVerifier) {
    const auto verifier = std::make_shared<CertVerifier>(std::make_shared<FakePlatform>());
    std::atomic<int> right{0};
    std::vector<std::thread> threads;
    threads.reserve(50);
    for (int i = 0; i < 50; ++i) {
        threads.emplace_back([&, i] {
            const IssuedCertificate own =
                CertificateBuilder().dnsNames({"server" + std::to_string(i) + ".test"}).build();
            const std::string name = "server" + std::to_string(i) + ".test";
            const CertResult good = verifier->verifyCertificate(own.get(), name, "shown");
            const CertResult bad = verifier->verifyCertificate(own.get(), "other.test");
            if (i % 10 == 0) {
                verifier->addPolicy(InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY);
            }
            if (good.result == CertResult::SUCCESS && good.identifierStatus.getMatchedIdentifier() == name &&
                bad.statuses == Statuses{CertStatus::CN_NO_MATCH}) {
                ++right;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 50);
}

}  // namespace
}  // namespace zeb::cert::test

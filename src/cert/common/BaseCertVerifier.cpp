#include "cert/common/BaseCertVerifier.h"

#include "cert/IgnoreInvalidCertConditionPolicy.h"
#include "cert/InvalidCertManagementPolicy.h"
#include "cert/common/PlatformCertVerifier.h"
#include "cert/common/PlatformVerificationHandler.h"
#include "cert/utils/AltNameParser.h"
#include "cert/utils/AltNameParserFactory.h"
#include "cert/utils/CertContainer.h"
#include "cert/utils/CertContainerFactory.h"
#include "cert/utils/CertificateData.h"
#include "cert/utils/CertificateDataFactory.h"
#include "cert/utils/Identity.h"
#include "cert/utils/KeyStrengthParser.h"
#include "cert/utils/KeyStrengthParserFactory.h"
#include "cert/utils/KeyUsageParser.h"
#include "cert/utils/KeyUsageParserFactory.h"
#include "common/FipsUtils.h"
#include "common/TrustEpoch.h"
#include "core/Log.h"
#include "core/ScopedLock.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "zebdiagnostics/ZEBDiagnostics.h"

#include <sstream>
#include <utility>

namespace zeb::cert {

using common::FipsUtils;
using common::Policy;

namespace {

constexpr int MINIMUM_KEY_BITS_OF_FIPS = 2048;

CertResult failure(CertStatus::Status status) {
    CertResult result;
    result.statuses = {status};
    return result;
}

bool isUsable(const std::shared_ptr<CertContainer>& container, const char* complaint) {
    if (container == nullptr || !container->isValid()) {
        ZEB_LOG_ERROR(log::cert(), complaint);
        return false;
    }
    return true;
}

bool isUsable(const Identity& identity) {
    if (!identity.isValid()) {
        ZEB_LOG_ERROR(log::cert(), "Received an invalid identity");
        return false;
    }
    return true;
}

std::string quotedForLog(const std::vector<std::string>& identifiers) {
    std::string text;
    for (const std::string& identifier : identifiers) {
        text.append("'").append(ZEBLogger_replacePIIData(identifier)).append("' ");
    }
    return text;
}

void addStatuses(CertResult& result, const CertResult& check) {
    result.statuses.insert(check.statuses.begin(), check.statuses.end());
}

std::string printed(const Policy& policy) {
    const auto* const management = dynamic_cast<const InvalidCertManagementPolicy*>(&policy);
    if (management == nullptr) {
        return policy.getName();
    }
    std::ostringstream stream;
    stream << *management;
    return stream.str();
}

/// In FIPS mode wrong usage and weak keys can never be ignored.
std::shared_ptr<Policy> strippedForFips(const std::shared_ptr<Policy>& policy) {
    const auto ignored = std::dynamic_pointer_cast<IgnoreInvalidCertConditionPolicy>(policy);
    if (ignored == nullptr) {
        return policy;
    }
    return ignored->stripOut(IgnoreInvalidCertConditionPolicy::IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY)
        ->stripOut(IgnoreInvalidCertConditionPolicy::IGNORE_WEAK_KEY_ERRORS_POLICY);
}

template <typename Pointer>
void replace(std::shared_ptr<Pointer>& present, std::shared_ptr<Pointer> replacement) {
    if (replacement != nullptr) {
        present = std::move(replacement);
    }
}

}  // namespace

/// What one verification reads the certificate with.
struct BaseCertVerifier::Parsers {
    std::shared_ptr<AltNameParser> altName;
    std::shared_ptr<KeyUsageParser> keyUsage;
    std::shared_ptr<KeyStrengthParser> keyStrength;
};

BaseCertVerifier::BaseCertVerifier(std::shared_ptr<PlatformCertVerifier> platformCertVerifier)
    : PolicyDriven(true),
      certContainerFactory_(std::make_shared<CertContainerFactory>()),
      platformCertVerifier_(std::move(platformCertVerifier)),
      altNameParserFactory_(std::make_shared<AltNameParserFactory>()),
      keyUsageParserFactory_(std::make_shared<KeyUsageParserFactory>()),
      keyStrengthParserFactory_(std::make_shared<KeyStrengthParserFactory>()),
      certificateDataFactory_(std::make_shared<CertificateDataFactory>()),
      platformVerificationHandler_(std::make_shared<PlatformVerificationHandler>()) {}

BaseCertVerifier::~BaseCertVerifier() = default;

void BaseCertVerifier::setCertContainerFactory(std::shared_ptr<CertContainerFactory> factory) {
    replace(certContainerFactory_, std::move(factory));
}

void BaseCertVerifier::setCertificateDataFactory(std::shared_ptr<CertificateDataFactory> factory) {
    replace(certificateDataFactory_, std::move(factory));
}

void BaseCertVerifier::setAltNameParserFactory(std::shared_ptr<AltNameParserFactory> factory) {
    replace(altNameParserFactory_, std::move(factory));
}

void BaseCertVerifier::setKeyUsageParserFactory(std::shared_ptr<KeyUsageParserFactory> factory) {
    replace(keyUsageParserFactory_, std::move(factory));
}

void BaseCertVerifier::setKeyStrengthParserFactory(std::shared_ptr<KeyStrengthParserFactory> factory) {
    replace(keyStrengthParserFactory_, std::move(factory));
}

void BaseCertVerifier::addPolicy(std::shared_ptr<Policy> policy) {
    if (policy == nullptr) {
        return;
    }
    if (policy->getNature() == Policy::PolicyNature::INVALID_CERT_MANAGEMENT) {
        ZEB_LOG_DEBUG(log::cert(), "Adding INVALID_CERT_MANAGEMENT policy : " << printed(*policy));
    }
    if (policy->getNature() == Policy::PolicyNature::IGNORE_INVALID_CERT_CONDITION &&
        FipsUtils::isFipsEnabled()) {
        policy = strippedForFips(policy);
    }
    // Both sets must stay alike, as the handler decides with its own.
    const ScopedLock lock(policiesMutex_);
    const bool same = getPolicy(policy->getNature()) == policy;
    PolicyDriven::addPolicy(policy);
    platformVerificationHandler_->addPolicy(std::move(policy));
    if (!same) {
        forgetWhatWasTrusted();
    }
}

void BaseCertVerifier::removePolicy(Policy::PolicyNature::Nature nature) {
    const ScopedLock lock(policiesMutex_);
    PolicyDriven::removePolicy(nature);
    platformVerificationHandler_->removePolicy(nature);
    forgetWhatWasTrusted();
}

void BaseCertVerifier::resetForTesting() {
    const ScopedLock lock(policiesMutex_);
    PolicyDriven::resetForTesting();
    platformVerificationHandler_->resetForTesting();
    forgetWhatWasTrusted();
}

/// No connection depends on a verifier that has judged nothing yet.
void BaseCertVerifier::forgetWhatWasTrusted() const {
    if (hasJudged_) {
        common::TrustEpoch::advance();
    }
}

// --- from the first check to the final result --------------------------------------------------------------

CertResult BaseCertVerifier::verifyCertificate(const std::shared_ptr<CertContainer>& container,
                                               const Identity& identity) {
    if (!isUsable(container, "Received an invalid certContainer") || !isUsable(identity)) {
        return failure(CertStatus::INTERNAL_ERROR);
    }
    const CertResult result = doVerifyCertificate(container, identity);
    return platformVerificationHandler_->handlePlatformVerificationResultSynchronously(
        result, identity.getMatchedReferenceIdentifier(), identity.getIdentifierToDisplay(),
        certificateDataFactory_->buildCertificateData(container));
}

bool BaseCertVerifier::verifyCertificateAsync(
    const std::shared_ptr<CertContainer>& container, const Identity& identity,
    const std::shared_ptr<CertificateVerificationListener>& listener, CertResult& instantResult,
    unsigned int& requestId) {
    if (!isUsable(container, "Received an invalid cert context") || !isUsable(identity)) {
        return false;
    }
    const CertResult result = doVerifyCertificate(container, identity);
    // Deliberately the first reference identifier, where the synchronous form tells the matched one.
    platformVerificationHandler_->handlePlatformVerificationResultAsynchronously(
        certificateDataFactory_->buildCertificateData(container),
        identity.getNonEmptyReferenceIdentifiers().front(), identity.getIdentifierToDisplay(), listener,
        result, instantResult, requestId);
    return true;
}

CertResult BaseCertVerifier::doVerifyCertificate(const std::shared_ptr<CertContainer>& container,
                                                 const Identity& identity) {
    hasJudged_ = true;  // before the first look at a policy
    const Parsers parsers = buildParsers(isCommonCriteriaEnabled());
    if (!parse(parsers, *container)) {
        return failure(CertStatus::INTERNAL_ERROR);
    }
    const std::set<CertStatus::Status> platformStatuses = verifyByPlatform(*container);
    const CertResult independent = doPlatformIndependentChecks(identity, parsers);
    CertResult result = buildCertResult(platformStatuses, independent);
    addDiagnosticsRecords(identity.getIdentifierToDisplay(), result);
    applyIgnoreInvalidCertConditionPolicy(result);
    if (result.identifierStatus.getStatus() == CertIdentifierStatus::SUCCESS) {
        identity.setMatchedReferenceIdentifier(result.identifierStatus.getMatchedIdentifier());
    }
    return result;
}

bool BaseCertVerifier::isCommonCriteriaEnabled() const {
    const auto policy = std::dynamic_pointer_cast<http::CommonCriteriaUsagePolicy>(
        getPolicy(Policy::PolicyNature::COMMON_CRITERIA_USAGE));
    if (policy == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "CC Mode usage policy not available.");
        return false;
    }
    const bool enabled = policy->isCommonCriteriaEnabled();
    ZEB_LOG_INFO(log::cert(), "CC Mode is " << (enabled ? "enabled." : "disabled."));
    return enabled;
}

// --- reading -----------------------------------------------------------------------------------------------

BaseCertVerifier::Parsers BaseCertVerifier::buildParsers(bool commonCriteria) const {
    return {altNameParserFactory_->buildAltNameParser(commonCriteria),
            keyUsageParserFactory_->buildKeyUsageParser(),
            keyStrengthParserFactory_->buildKeyStrengthParser()};
}

bool BaseCertVerifier::parse(const Parsers& parsers, const CertContainer& container) {
    if (!container.hasValidLeafCert() ||
        parsers.altName->parse(container.getLeafCert()) != CertIdentifierStatus::SUCCESS) {
        ZEB_LOG_ERROR(log::cert(), "Parsing of alternative names failed");
        return false;
    }
    if (!container.hasValidLeafCert() ||
        parsers.keyUsage->parse(container.getLeafCert()) != CertKeyUsageResult::SUCCESS) {
        ZEB_LOG_ERROR(log::cert(), "Parsing of key usage or extended key usage failed");
        return false;
    }
    if (!container.hasValidLeafCert() ||
        parsers.keyStrength->parse(container.getLeafCert()) != CertKeyStrengthResult::SUCCESS) {
        ZEB_LOG_ERROR(log::cert(), "Parsing of key strength failed");
        return false;
    }
    return true;
}

std::set<CertStatus::Status> BaseCertVerifier::verifyByPlatform(const CertContainer& container) {
    if (platformCertVerifier_ == nullptr) {
        ZEB_LOG_ERROR(log::cert(), "No platform verifier is available.");
        return {CertStatus::INTERNAL_ERROR};
    }
    return container.isLeafCert() ? platformCertVerifier_->verifyCertificate(container.getLeafCert())
                                  : platformCertVerifier_->verifyCertificate(container.getCertChain());
}

// --- the checks that need no platform ----------------------------------------------------------------------

CertResult BaseCertVerifier::doPlatformIndependentChecks(const Identity& identity, const Parsers& parsers) {
    const CertResult identityCheck = checkIdentity(identity, parsers.altName);
    const CertResult usageCheck = checkUsage(*parsers.keyUsage);
    const CertResult strengthCheck = checkKeyStrength(*parsers.keyStrength);
    CertResult result;
    result.identifierStatus = identityCheck.identifierStatus;
    result.keyUsageResult = usageCheck.keyUsageResult;
    result.keyStrengthResult = strengthCheck.keyStrengthResult;
    if (identityCheck.result == CertResult::SUCCESS && usageCheck.result == CertResult::SUCCESS &&
        strengthCheck.result == CertResult::SUCCESS) {
        result.result = CertResult::SUCCESS;
        result.statuses = {CertStatus::VALID};
        return result;
    }
    // A check that succeeded has no statuses.
    addStatuses(result, identityCheck);
    addStatuses(result, usageCheck);
    addStatuses(result, strengthCheck);
    return result;
}

CertResult BaseCertVerifier::checkIdentity(const Identity& identity,
                                           const std::shared_ptr<AltNameParser>& altNameParser) {
    ZEB_LOG_DEBUG(log::cert(), "About to check for an Identity Match.");
    CertResult check;
    if (identity.hasValidReferenceIdentifierForSNI()) {
        check.identifierStatus = checkIdentifiers(altNameParser, {identity.getReferenceIdentifierForSNI()});
        if (check.identifierStatus.getStatus() == CertIdentifierStatus::SUCCESS) {
            check.result = CertResult::SUCCESS;
            return check;
        }
        // No match here is not final.
    }
    const bool hasMandatory = identity.hasValidMandatoryReferenceIdentifier();
    if (hasMandatory) {
        check.identifierStatus =
            checkIdentifiers(altNameParser, {identity.getMandatoryReferenceIdentifier()});
    }
    if (!hasMandatory || check.identifierStatus.getStatus() == CertIdentifierStatus::SUCCESS) {
        // Besides a mandatory one, one of these must match, too.
        const CertIdentifierStatus mandatory = check.identifierStatus;
        check.identifierStatus = checkIdentifiers(altNameParser, identity.getNonEmptyReferenceIdentifiers());
        if (hasMandatory && check.identifierStatus.getStatus() == CertIdentifierStatus::SUCCESS) {
            check.identifierStatus = mandatory;
        }
    }
    if (check.identifierStatus.getStatus() == CertIdentifierStatus::SUCCESS) {
        check.result = CertResult::SUCCESS;
    } else {
        check.statuses = {CertStatus::CN_NO_MATCH};
    }
    return check;
}

CertIdentifierStatus BaseCertVerifier::checkIdentifiers(const std::shared_ptr<AltNameParser>& altNameParser,
                                                        const std::vector<std::string>& identifiers) {
    CertIdentifierStatus status;
    for (const std::string& identifier : identifiers) {
        status.setStatus(checkIdentifier(altNameParser, identifier));
        if (status.getStatus() == CertIdentifierStatus::SUCCESS) {
            status.setMatchedIdentifier(identifier);
            ZEB_LOG_DEBUG(log::cert(), "Verification of identity succeeded. Matched identifier : '"
                                           << ZEBLogger_replacePIIData(identifier) << "'");
            return status;
        }
    }
    ZEB_LOG_ERROR(log::cert(), "Verification of identity: " << quotedForLog(identifiers) << " failed.");
    return status;
}

CertResult BaseCertVerifier::checkUsage(const KeyUsageParser& keyUsageParser) {
    CertResult check;
    if (!keyUsageParser.parsed()) {
        check.statuses = {CertStatus::INTERNAL_ERROR};
        check.keyUsageResult = CertKeyUsageResult::INTERNAL_ERROR;
        return check;
    }
    check.keyUsageResult = checkBasicKeyUsage(keyUsageParser);
    if (check.keyUsageResult == CertKeyUsageResult::SUCCESS) {
        check.keyUsageResult = checkExtendedKeyUsage(keyUsageParser);
    }
    if (check.keyUsageResult == CertKeyUsageResult::SUCCESS) {
        check.result = CertResult::SUCCESS;
    } else {
        check.statuses = {CertStatus::WRONG_USAGE};
    }
    return check;
}

CertKeyUsageResult::Result BaseCertVerifier::checkBasicKeyUsage(const KeyUsageParser& keyUsageParser) {
    if (!keyUsageParser.hasBasicKeyUsage()) {
        ZEB_LOG_INFO(log::cert(),
                     "No basic key usage extension in the cert. Considering the KeyUsage as verified");
        return CertKeyUsageResult::SUCCESS;
    }
    if (keyUsageParser.verifyBasicKeyUsage({BasicKeyUsage::DIGITAL_SIGNATURE}) ==
        CertKeyUsageResult::SUCCESS) {
        return CertKeyUsageResult::SUCCESS;
    }
    return keyUsageParser.verifyBasicKeyUsage({BasicKeyUsage::KEY_ENCIPHERMENT});
}

CertKeyUsageResult::Result BaseCertVerifier::checkExtendedKeyUsage(const KeyUsageParser& keyUsageParser) {
    if (!keyUsageParser.hasExtendedKeyUsage()) {
        ZEB_LOG_INFO(log::cert(),
                     "No extended key usage extension in the cert. Considering the ExtendedKeyUsage "
                     "as verified");
        return CertKeyUsageResult::SUCCESS;
    }
    const CertKeyUsageResult::Result result =
        keyUsageParser.verifyExtendedKeyUsage({ExtendedKeyUsage::SERVER_AUTH});
    const bool missing = result == CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND;
    return missing && keyUsageParser.isAnyExtendedKeyUsageSet() ? CertKeyUsageResult::SUCCESS : result;
}

CertResult BaseCertVerifier::checkKeyStrength(const KeyStrengthParser& keyStrengthParser) {
    CertResult check;
    if (!keyStrengthParser.parsed()) {
        check.statuses = {CertStatus::INTERNAL_ERROR};
        check.keyStrengthResult = CertKeyStrengthResult::INTERNAL_ERROR;
        return check;
    }
    // Deliberately no minimum outside FIPS mode.
    check.keyStrengthResult = FipsUtils::isFipsEnabled() ? keyStrengthParser.verify(MINIMUM_KEY_BITS_OF_FIPS)
                                                         : CertKeyStrengthResult::SUCCESS;
    if (check.keyStrengthResult == CertKeyStrengthResult::SUCCESS) {
        check.result = CertResult::SUCCESS;
    } else {
        check.statuses = {CertStatus::WEAK_KEY};
    }
    return check;
}

// --- both together -----------------------------------------------------------------------------------------

CertResult BaseCertVerifier::buildCertResult(const std::set<CertStatus::Status>& platformStatuses,
                                             const CertResult& independent) {
    if (CertStatus::representsVerificationSuccess(platformStatuses)) {
        return independent;
    }
    CertResult result = independent;
    result.result = CertResult::FAILURE;
    result.statuses = platformStatuses;
    if (independent.result != CertResult::SUCCESS) {
        addStatuses(result, independent);
    }
    return result;
}

void BaseCertVerifier::addDiagnosticsRecords(const std::string& identifierToDisplay,
                                             const CertResult& result) {
    using namespace ZEBDiagnostics;
    if (result.result == CertResult::SUCCESS) {
        DiagnosticsWrapper::AddRecord(RecordType::INFORMATION, SectionID::CERTIFICATES,
                                      result.identifierStatus.getMatchedIdentifier(), "VALID", 0, "", "");
        return;
    }
    std::ostringstream statuses;
    statuses << result.statuses;
    DiagnosticsWrapper::AddRecord(RecordType::FAILURE, SectionID::CERTIFICATES, identifierToDisplay,
                                  statuses.str(), 0, "", "");
}

void BaseCertVerifier::applyIgnoreInvalidCertConditionPolicy(CertResult& result) const {
    if (CertStatus::representsVerificationSuccess(result.statuses)) {
        ZEB_LOG_DEBUG(log::cert(), "Certificate verification was successful, not applying policy.");
        return;
    }
    const auto policy = std::dynamic_pointer_cast<IgnoreInvalidCertConditionPolicy>(
        getPolicy(Policy::PolicyNature::IGNORE_INVALID_CERT_CONDITION));
    if (policy == nullptr) {
        ZEB_LOG_DEBUG(log::cert(),
                      "Ignore invalid cert condition policy not available, not taking any action.");
        return;
    }
    policy->enforce(result.statuses);
    if (CertStatus::representsVerificationSuccess(result.statuses)) {
        ZEB_LOG_DEBUG(log::cert(), "Setting the certificate verification result to success.");
        // The statuses stay as they are, deliberately: nothing may be left of them.
        result.result = CertResult::SUCCESS;
    }
}

}  // namespace zeb::cert

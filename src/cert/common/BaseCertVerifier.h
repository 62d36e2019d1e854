#pragma once

#include "cert/common/CertIdentifierStatus.h"
#include "cert/common/CertKeyUsageResult.h"
#include "cert/common/CertResult.h"
#include "cert/common/CertStatus.h"
#include "common/PolicyDriven.h"
#include "core/Export.h"
#include "core/Mutex.h"

#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zeb::cert {

class AltNameParser;
class AltNameParserFactory;
class CertContainer;
class CertContainerFactory;
class CertificateDataFactory;
class CertificateVerificationListener;
class Identity;
class KeyStrengthParser;
class KeyStrengthParserFactory;
class KeyUsageParser;
class KeyUsageParserFactory;
class PlatformCertVerifier;
class PlatformVerificationHandler;

/// May this connection go on? Judges the certificate that a TLS handshake presents: is its chain trusted
/// here, does it carry the expected name (RFC 6125), may it be used for a server, is its key strong enough;
/// and then lets the policies, the decisions remembered and the user have their say. What one name is
/// compared by is the derived class's.
///
/// Policies: INVALID_CERT_MANAGEMENT, IGNORE_INVALID_CERT_CONDITION, FAILURE_MANAGEMENT,
/// COMMON_CRITERIA_USAGE. Those of DefaultPoliciesStore are taken at construction only: a verifier doesn't
/// hear of later changes.
///
/// Any thread may verify, many at once. The setters are for the time before the first verification. Nothing
/// here throws; what can't be judged is a FAILURE with INTERNAL_ERROR.
class ZEBNETUTILS_EXPORT BaseCertVerifier : public common::PolicyDriven {
public:
    /// The parsers, factories and the handler are the library's own. Without a platform verifier every
    /// certificate fails.
    explicit BaseCertVerifier(std::shared_ptr<PlatformCertVerifier> platformCertVerifier);
    ~BaseCertVerifier() override;

    /// The final result; a policy that prompts makes this wait for the user.
    CertResult verifyCertificate(const std::shared_ptr<CertContainer>& container, const Identity& identity);
    /// The same without waiting for a user. False, and nothing else, for an invalid container or identity.
    /// Otherwise `instantResult` is final if `requestId` is 0; else it is what holds for the time being, and
    /// the listener hears the final one, under that id, on a thread of the shared pool. Nothing of the
    /// container is used any more once this has returned.
    bool verifyCertificateAsync(const std::shared_ptr<CertContainer>& container, const Identity& identity,
                                const std::shared_ptr<CertificateVerificationListener>& listener,
                                CertResult& instantResult, unsigned int& requestId);

    /// Null is ignored. In FIPS mode a policy that ignores conditions loses wrong usage and weak keys:
    /// they are never ignored then. (A default of the store isn't stripped so.)
    ///
    /// A request that begins after a change of policies gets no connection that was judged before it.
    void addPolicy(std::shared_ptr<common::Policy> policy) override;
    void removePolicy(common::Policy::PolicyNature::Nature nature) override;
    void resetForTesting() override;

    // Each takes the place of what the constructor made; null is ignored.
    void setCertContainerFactory(std::shared_ptr<CertContainerFactory> factory);
    void setCertificateDataFactory(std::shared_ptr<CertificateDataFactory> factory);
    void setAltNameParserFactory(std::shared_ptr<AltNameParserFactory> factory);
    void setKeyUsageParserFactory(std::shared_ptr<KeyUsageParserFactory> factory);
    void setKeyStrengthParserFactory(std::shared_ptr<KeyStrengthParserFactory> factory);

    /// Does the certificate that the parser has read carry this one name?
    virtual CertIdentifierStatus::Status checkIdentifier(std::shared_ptr<AltNameParser> altNameParser,
                                                         const std::string& identifier) = 0;

protected:
    CertContainerFactory& getCertContainerFactory() { return *certContainerFactory_; }

private:
    struct Parsers;

    CertResult doVerifyCertificate(const std::shared_ptr<CertContainer>& container, const Identity& identity);
    bool isCommonCriteriaEnabled() const;
    Parsers buildParsers(bool commonCriteria) const;
    static bool parse(const Parsers& parsers, const CertContainer& container);
    std::set<CertStatus::Status> verifyByPlatform(const CertContainer& container);
    CertResult doPlatformIndependentChecks(const Identity& identity, const Parsers& parsers);
    CertResult checkIdentity(const Identity& identity, const std::shared_ptr<AltNameParser>& altNameParser);
    CertIdentifierStatus checkIdentifiers(const std::shared_ptr<AltNameParser>& altNameParser,
                                          const std::vector<std::string>& identifiers);
    static CertResult checkUsage(const KeyUsageParser& keyUsageParser);
    static CertKeyUsageResult::Result checkBasicKeyUsage(const KeyUsageParser& keyUsageParser);
    static CertKeyUsageResult::Result checkExtendedKeyUsage(const KeyUsageParser& keyUsageParser);
    static CertResult checkKeyStrength(const KeyStrengthParser& keyStrengthParser);
    static CertResult buildCertResult(const std::set<CertStatus::Status>& platformStatuses,
                                      const CertResult& independent);
    static void addDiagnosticsRecords(const std::string& identifierToDisplay, const CertResult& result);
    void applyIgnoreInvalidCertConditionPolicy(CertResult& result) const;
    void forgetWhatWasTrusted() const;

    std::shared_ptr<CertContainerFactory> certContainerFactory_;
    const std::shared_ptr<PlatformCertVerifier> platformCertVerifier_;
    std::shared_ptr<AltNameParserFactory> altNameParserFactory_;
    std::shared_ptr<KeyUsageParserFactory> keyUsageParserFactory_;
    std::shared_ptr<KeyStrengthParserFactory> keyStrengthParserFactory_;
    std::shared_ptr<CertificateDataFactory> certificateDataFactory_;
    const std::shared_ptr<PlatformVerificationHandler> platformVerificationHandler_;
    Mutex policiesMutex_;  ///< for changes alone: keeps the handler's policies like those here
    std::atomic<bool> hasJudged_{false};
};

}  // namespace zeb::cert

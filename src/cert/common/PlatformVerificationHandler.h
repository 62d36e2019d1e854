#pragma once

#include "cert/common/CertAcceptanceDecision.h"
#include "cert/common/CertResult.h"
#include "cert/common/CertStatus.h"
#include "cert/common/CertVerifierTask.h"
#include "common/Policy.h"
#include "common/PolicyDriven.h"
#include "core/Export.h"

#include <memory>
#include <set>
#include <string>

namespace zeb::cert {

class CertificateData;
class CertificateVerificationListener;

/// Carries the result of a certificate's checks to its final one: asks what has been decided before, enforces
/// the INVALID_CERT_MANAGEMENT policy, has the user asked or warned, and puts what must wait for a user on a
/// thread of the shared pool.
///
/// It holds the default policies of its construction and what its verifier passes on. Any thread may call,
/// many at once. Must be owned by a shared pointer. `identifier` is the name that the server was to have,
/// `identifierToDisplay` the one that a user knows it by.
class ZEBNETUTILS_EXPORT PlatformVerificationHandler
    : public common::PolicyDriven,
      public CertVerifierTask,
      public std::enable_shared_from_this<PlatformVerificationHandler> {
public:
    PlatformVerificationHandler();
    ~PlatformVerificationHandler() override;

    /// May wait as long as a user takes to answer. Without certificate data nobody can be asked: a failed
    /// result then stays one.
    CertResult handlePlatformVerificationResultSynchronously(
        const CertResult& result, const std::string& identifier, const std::string& identifierToDisplay,
        const std::shared_ptr<CertificateData>& certificateData);
    /// Returns at once. With `requestId` 0 the output is final; otherwise it is provisional, and the listener
    /// hears the final one later, under that id.
    void handlePlatformVerificationResultAsynchronously(
        const std::shared_ptr<CertificateData>& certificateData, const std::string& identifier,
        const std::string& identifierToDisplay,
        const std::shared_ptr<CertificateVerificationListener>& listener, const CertResult& instantResult,
        CertResult& output, unsigned int& requestId);

    /// The synchronous form: what the task on the pool calls.
    CertResult executeTask(CertResult result, const std::string& matchedIdentifier,
                           std::shared_ptr<CertificateData> certificateData,
                           const std::string& identifierToDisplay) override;

private:
    using PolicyPtr = std::shared_ptr<common::Policy>;
    using DataPtr = std::shared_ptr<CertificateData>;

    static bool instantResultIsFinalResult(CertResult::Result instantResult, const PolicyPtr& policy);
    static bool policyDoesNotRequireUserInput(const PolicyPtr& policy);
    static CertResult buildSuccessfulResult(const std::string& identifier);
    static void guaranteeResultConsistency(CertResult& result, const std::string& identifier);
    static void showErrorNotification(const std::set<CertStatus::Status>& statuses,
                                      const std::string& identifierToDisplay, const DataPtr& data,
                                      const PolicyPtr& policy);
    CertResult::Result getResultFromDecision(CertAcceptanceDecision::Decision decision,
                                             const PolicyPtr& policy) const;
    void enqueueTask(const DataPtr& data, const std::string& identifier,
                     const std::string& identifierToDisplay,
                     const std::shared_ptr<CertificateVerificationListener>& listener,
                     const CertResult& instantResult, CertResult& output, unsigned int& requestId);
};

}  // namespace zeb::cert

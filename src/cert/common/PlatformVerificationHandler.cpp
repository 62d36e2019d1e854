#include "cert/common/PlatformVerificationHandler.h"

#include "cert/InvalidCertManagementPolicy.h"
#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertVerificationFailureManager.h"
#include "cert/common/CertificateAsyncTask.h"
#include "cert/common/CertificateTaskData.h"
#include "cert/common/CertificateVerificationListener.h"
#include "cert/common/InvalidCertNotificationManager.h"
#include "cert/utils/CertificateData.h"
#include "core/Log.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <stdexcept>
#include <utility>
#include <vector>

namespace zeb::cert {

using common::Policy;

namespace {

bool isUnknown(const std::shared_ptr<Policy>& policy) {
    return policy == nullptr || policy->getNature() == Policy::PolicyNature::UNKNOWN;
}

/// Takes the place of a success's parts.
void succeed(CertResult& result) {
    result.identifierStatus.setStatus(CertIdentifierStatus::SUCCESS);
    result.keyUsageResult = CertKeyUsageResult::SUCCESS;
    result.keyStrengthResult = CertKeyStrengthResult::SUCCESS;
}

}  // namespace

PlatformVerificationHandler::PlatformVerificationHandler() : PolicyDriven(false) {}

PlatformVerificationHandler::~PlatformVerificationHandler() = default;

CertResult PlatformVerificationHandler::executeTask(CertResult result, const std::string& matchedIdentifier,
                                                    std::shared_ptr<CertificateData> certificateData,
                                                    const std::string& identifierToDisplay) {
    return handlePlatformVerificationResultSynchronously(result, matchedIdentifier, identifierToDisplay,
                                                         certificateData);
}

CertResult PlatformVerificationHandler::handlePlatformVerificationResultSynchronously(
    const CertResult& result, const std::string& identifier, const std::string& identifierToDisplay,
    const std::shared_ptr<CertificateData>& certificateData) {
    ZEB_LOG_INFO(log::cert(), "Verification result : " << result.result << " reason : " << result.statuses);
    const PolicyPtr policy = getPolicy(Policy::PolicyNature::INVALID_CERT_MANAGEMENT);
    CertResult output = result;
    const bool failed = !CertStatus::representsVerificationSuccess(output.statuses);
    if (failed) {
        ZEB_LOG_DEBUG(log::cert(), "The policy has to be enforced.");
        const CertAcceptanceDecision::Decision decision =
            CertVerificationFailureManager::manageCertValidationFailure(
                certificateData, identifier, identifierToDisplay, output.statuses, policy);
        output.result = getResultFromDecision(decision, policy);
    }
    guaranteeResultConsistency(output, identifier);
    if (failed && output.result == CertResult::FAILURE) {
        showErrorNotification(output.statuses, identifierToDisplay, certificateData, policy);
    }
    ZEB_LOG_DEBUG(log::cert(), "finalResult: " << output.loggable());
    return output;
}

CertResult::Result PlatformVerificationHandler::getResultFromDecision(
    CertAcceptanceDecision::Decision decision, const PolicyPtr& policy) const {
    switch (decision) {
        case CertAcceptanceDecision::YES:
            return CertResult::SUCCESS;
        case CertAcceptanceDecision::POLICY_ENFORCEMENT_ERROR:
        case CertAcceptanceDecision::UNKNOWN:
            return policyFailureCanBeIgnored(*policy) ? CertResult::SUCCESS
                                                      : CertResult::POLICY_NOT_ENFORCED_ERROR;
        case CertAcceptanceDecision::NO:
            break;
    }
    return CertResult::FAILURE;
}

void PlatformVerificationHandler::guaranteeResultConsistency(CertResult& result,
                                                             const std::string& identifier) {
    if (result.result == CertResult::SUCCESS) {
        ZEB_LOG_DEBUG(log::cert(),
                      "Verification successful, forcing identifier verification status to SUCCESS");
        succeed(result);
    }
    if (result.identifierStatus.getStatus() == CertIdentifierStatus::SUCCESS) {
        result.identifierStatus.setMatchedIdentifier(identifier);
    }
}

void PlatformVerificationHandler::showErrorNotification(const std::set<CertStatus::Status>& statuses,
                                                        const std::string& identifierToDisplay,
                                                        const DataPtr& data, const PolicyPtr& policy) {
    if (isUnknown(policy)) {
        ZEB_LOG_DEBUG(
            log::cert(),
            "No INVALID_CERT_MANAGEMENT policy available, not showing rejected certificate warning");
        return;
    }
    const auto management = std::dynamic_pointer_cast<InvalidCertManagementPolicy>(policy);
    if (management == nullptr || !management->interactsWithUser()) {
        ZEB_LOG_DEBUG(log::cert(),
                      "INVALID_CERT_MANAGEMENT policy not interacting with the user, "
                      "not showing rejected certificate warning");
        return;
    }
    ZEB_LOG_DEBUG(log::cert(), "Notifying the InvalidCertListener about certificate rejection");
    std::vector<std::string> chain = data == nullptr ? std::vector<std::string>() : data->getPem();
    std::string leaf;
    if (!chain.empty()) {
        leaf = std::move(chain.front());
        chain.erase(chain.begin());
    }
    try {
        InvalidCertNotificationManager::getInstance()->reportRejectedCert(
            data == nullptr ? std::string() : data->getFingerprint(),
            data == nullptr ? std::string() : data->getCommonName(), identifierToDisplay, statuses, leaf,
            chain);
    } catch (const std::logic_error& error) {
        ZEB_LOG_ERROR(log::cert(),
                      "Unable to Notifying the InvalidCertListener, received a logic_error from "
                      "InvalidCertNotificationManager: "
                          << error.what());
    }
}

// --- without waiting for a user ----------------------------------------------------------------------------

void PlatformVerificationHandler::handlePlatformVerificationResultAsynchronously(
    const std::shared_ptr<CertificateData>& certificateData, const std::string& identifier,
    const std::string& identifierToDisplay, const std::shared_ptr<CertificateVerificationListener>& listener,
    const CertResult& instantResult, CertResult& output, unsigned int& requestId) {
    const PolicyPtr policy = getPolicy(Policy::PolicyNature::INVALID_CERT_MANAGEMENT);
    requestId = 0;
    if (instantResultIsFinalResult(instantResult.result, policy)) {
        output = instantResult;
        return;
    }
    if (policyDoesNotRequireUserInput(policy)) {
        ZEB_LOG_DEBUG(log::cert(), "policy does not interact with the user, applying policy");
        output = handlePlatformVerificationResultSynchronously(instantResult, identifier, identifierToDisplay,
                                                               certificateData);
        return;
    }
    ZEB_LOG_DEBUG(log::cert(), "policy interacts with the user, checking for a cached decision-");
    std::set<CertStatus::Status> statuses = instantResult.statuses;
    const CertAcceptanceDecision::Decision decision =
        CertVerificationFailureManager::checkCertificateCachedDecision(certificateData, statuses, policy);
    switch (decision) {
        case CertAcceptanceDecision::YES:
            ZEB_LOG_DEBUG(log::cert(),
                          "Certificate is cached as accepted. No background task will be enqueued.");
            output = buildSuccessfulResult(identifier);
            return;
        case CertAcceptanceDecision::NO:
            ZEB_LOG_DEBUG(log::cert(),
                          "Certificate is cached as rejected. No background task will be enqueued.");
            showErrorNotification(instantResult.statuses, identifierToDisplay, certificateData, policy);
            output = instantResult;
            return;
        case CertAcceptanceDecision::POLICY_ENFORCEMENT_ERROR:
            // The task meets the same failure again, where the failure policy has its say.
            ZEB_LOG_WARNING(log::cert(),
                            "Unable to get a valid status of certificate cache: POLICY_ENFORCEMENT_ERROR");
            break;
        case CertAcceptanceDecision::UNKNOWN:
            break;
    }
    enqueueTask(certificateData, identifier, identifierToDisplay, listener, instantResult, output, requestId);
}

bool PlatformVerificationHandler::instantResultIsFinalResult(CertResult::Result instantResult,
                                                             const PolicyPtr& policy) {
    if (instantResult == CertResult::SUCCESS) {
        ZEB_LOG_DEBUG(log::cert(), "Certificate is valid. No background task will be enqueued.");
        return true;
    }
    if (isUnknown(policy)) {
        ZEB_LOG_DEBUG(log::cert(),
                      "No INVALID_CERT_MANAGEMENT policy available, returning the cert verification result.");
        return true;
    }
    return false;
}

bool PlatformVerificationHandler::policyDoesNotRequireUserInput(const PolicyPtr& policy) {
    if (isUnknown(policy)) {
        ZEB_LOG_ERROR(log::cert(),
                      "No INVALID_CERT_MANAGEMENT policy available in policyNotRequiresUserInput. "
                      "Unexpected condition");
        return true;
    }
    const auto management = std::dynamic_pointer_cast<InvalidCertManagementPolicy>(policy);
    if (management == nullptr) {
        return false;
    }
    if (!management->interactsWithUser()) {
        return true;
    }
    // A policy that only calls itself interacting has nothing to ask the user with.
    const auto interacting =
        std::dynamic_pointer_cast<UserInteractingInvalidCertManagementPolicy>(management);
    return interacting == nullptr || !interacting->requiresUserInput();
}

CertResult PlatformVerificationHandler::buildSuccessfulResult(const std::string& identifier) {
    CertResult result;
    result.result = CertResult::SUCCESS;
    succeed(result);
    result.identifierStatus.setMatchedIdentifier(identifier);
    return result;
}

void PlatformVerificationHandler::enqueueTask(
    const DataPtr& data, const std::string& identifier, const std::string& identifierToDisplay,
    const std::shared_ptr<CertificateVerificationListener>& listener, const CertResult& instantResult,
    CertResult& output, unsigned int& requestId) {
    const auto taskData = std::make_shared<CertificateTaskData>();
    taskData->certificateData = data;
    taskData->requestId = CertificateAsyncTask::GetAndIncrementInvocationId();
    taskData->listener = listener;
    taskData->identifierToDisplay = identifierToDisplay;
    taskData->matchedIdentifier = identifier;
    taskData->instantResult = instantResult;
    // Before the task can run: the listener may be told while this thread is still here.
    requestId = taskData->requestId;
    output = instantResult;
    ZEB_LOG_DEBUG(log::cert(), "Adding task to a thread pool for request [" << taskData->requestId << "].");
    QRMCoreUtils::ThreadUtils::runInThreadPool(
        std::make_shared<CertificateAsyncTask>(taskData, shared_from_this()));
}

}  // namespace zeb::cert

#include "CertificatePrompt.h"

#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertVerifier.h"
#include "cert/common/CertVerifierFactory.h"
#include "cert/common/InvalidCertInfo.h"
#include "cert/common/InvalidCertNotificationManager.h"

#include <algorithm>
#include <iostream>
#include <unistd.h>

namespace zebget {

using zeb::cert::CertStatus;
using zeb::cert::InvalidCertManagementPolicy;
using zeb::cert::InvalidCertNotificationManager;
using zeb::cert::UserInteractingInvalidCertManagementPolicy;

namespace {

/// A stranger chose the names in a certificate: nothing in them may act on the terminal.
std::string harmless(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte > 0x7E; }, '?');
    return text;
}

std::shared_ptr<InvalidCertManagementPolicy> makePolicy(InsecurePolicy policy) {
    using Policies = UserInteractingInvalidCertManagementPolicy;
    switch (policy) {
        case InsecurePolicy::FAIL:
            break;
        case InsecurePolicy::SUCCEED:
            return InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY;
        case InsecurePolicy::NOTIFY:
            return Policies::NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder()
                .build();
        case InsecurePolicy::PROMPT:
            return Policies::PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder().build();
    }
    return InvalidCertManagementPolicy::SILENTLY_FAIL_POLICY;
}

}  // namespace

const char* inWords(CertStatus::Status status) {
    switch (status) {
        case CertStatus::VALID:
            return "nothing";
        case CertStatus::INVALID_REVOKED:
            return "it has been revoked by who issued it";
        case CertStatus::INTERNAL_ERROR:
            return "it could not be read";
        case CertStatus::BASIC_CONSTRAINTS:
            return "it was issued by one that may not issue certificates";
        case CertStatus::NO_REVOCATION_CHECK:
            return "nobody tells whether it has been revoked";
        case CertStatus::REVOCATION_OFFLINE:
            return "who tells whether it has been revoked does not answer";
        case CertStatus::UNTRUSTED_ROOT:
            return "it was issued by an authority that this machine does not trust";
        case CertStatus::INVALID_SIGNATURE:
            return "its signature is wrong";
        case CertStatus::INVALID_CHAIN:
            return "the certificates that vouch for it do not fit together";
        case CertStatus::CN_NO_MATCH:
            return "it is made out to another name";
        case CertStatus::WRONG_USAGE:
            return "it was not issued for a server";
        case CertStatus::EXPIRED:
            return "its time is over";
        case CertStatus::INVALID_NAME:
            return "it holds an invalid name";
        case CertStatus::INVALID_POLICY:
            return "the policies that it was issued under are invalid";
        case CertStatus::FAILED_TO_VERIFY_XMPP_SUBJECT_ALT_NAME:
            return "it is made out to another chat server";
        case CertStatus::REVOCATION_STATUS_UNKNOWN:
            return "it is not known whether it has been revoked";
        case CertStatus::INVALID_EXTENSION:
            return "it holds an invalid extension";
        case CertStatus::CTL_IS_NOT_VALID:
            return "the list of trust that it stands in is not valid";
        case CertStatus::INVALID_NAME_CONSTRAINT:
            return "its issuer may not issue for that name";
        case CertStatus::POLICY_NO_ISSUANCE:
            return "it was issued without the policy that its issuer demands";
        case CertStatus::EXPLICIT_DISTRUST:
            return "this machine distrusts it";
        case CertStatus::NOT_SUPPORTED_CRITICAL_EXT:
            return "it holds a critical extension that is not understood here";
        case CertStatus::IS_PARTIAL_CHAIN:
            return "certificates that vouch for it are missing";
        case CertStatus::CERT_TRUST_CYCLIC:
            return "the certificates that vouch for it go round in a circle";
        case CertStatus::NO_TIME_VALID:
            return "it is not valid at this time";
        case CertStatus::WEAK_KEY:
            return "its key is too weak";
        case CertStatus::UNKNOWN:
            return "this machine does not trust it";
    }
    return "it failed for a reason without a name";
}

void CertificatePrompt::prompUserForAction(const zeb::cert::InvalidCertInfo& info) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::string& server = info.identifierToDisplay.empty() ? info.identifier : info.identifierToDisplay;
    output_ << (info.userCanDecide ? "" : "Warning: ") << "The certificate of " << harmless(server)
            << " is not good.\n"
            << "  made out to: " << harmless(info.commonName) << "\n";
    for (const CertStatus::Status status : info.statuses) {
        output_ << "  what is wrong: " << inWords(status) << "\n";
    }
    output_ << "  SHA-1 fingerprint: " << info.fingerprint << std::endl;
    if (info.userCanDecide) {
        ask(info.fingerprint);
    }
}

void CertificatePrompt::ask(const std::string& fingerprint) {
    using Options = InvalidCertNotificationManager::AcceptanceOptions;
    const auto manager = InvalidCertNotificationManager::getInstance();
    std::string answer;
    while (canAsk_) {
        output_ << "[a]ccept for this run, [r]eject, reject [o]nce? " << std::flush;
        if (!std::getline(input_, answer)) {
            output_ << "\n";
            break;
        }
        if (answer == "a") {
            manager->acceptInvalidCert(fingerprint, {Options::ACCEPT_FOR_SESSION});
            return;
        }
        if (answer == "o") {
            manager->rejectInvalidCertOnce(fingerprint);
            return;
        }
        if (answer == "r") {
            break;
        }
    }
    manager->rejectInvalidCert(fingerprint);
}

void CertificatePrompt::reportRejectedCert(const std::string& /*fingerprint*/,
                                           const std::string& /*commonName*/,
                                           const std::string& identifierToDisplay,
                                           const std::set<CertStatus::Status>& /*statuses*/,
                                           const std::string& /*leafPem*/,
                                           const std::vector<std::string>& /*chainPem*/) {
    const std::lock_guard<std::mutex> lock(mutex_);
    output_ << "The certificate of " << harmless(identifierToDisplay) << " has been rejected." << std::endl;
}

std::shared_ptr<zeb::cert::CertVerifier> makeVerifier(InsecurePolicy policy) {
    InvalidCertNotificationManager::getInstance()->registerInvalidCertListener(
        std::make_shared<CertificatePrompt>(isatty(STDIN_FILENO) != 0, std::cin, std::cerr));
    auto verifier = zeb::cert::CertVerifierFactory::createCertVerifier();
    verifier->addPolicy(makePolicy(policy));
    return verifier;
}

}  // namespace zebget

#pragma once

#include "cert/common/CertAcceptanceDecision.h"
#include "cert/common/CertStatus.h"
#include "common/PolicyDriven.h"
#include "core/Condition.h"
#include "core/Export.h"
#include "core/Mutex.h"

#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace zeb {
class Event;
class ScopedLock;
}  // namespace zeb

namespace zeb::cert {

class CertificateCacheAccessor;
class InvalidCertListener;
struct InvalidCertInfo;

/// Where verifying threads meet the one user. A thread that needs a decision about a certificate asks the
/// host's InvalidCertListener and waits, without limit, until the host answers from any thread. Threads that
/// wait for the same certificate are joined by its fingerprint, so that the user hears one question.
///
/// The protocol, for a question:
/// 1. The verifying thread calls the listener's prompUserForAction, with userCanDecide true.
/// 2. The host answers once: acceptInvalidCert(fingerprint, {ACCEPT_FOR_SESSION}), rejectInvalidCert, or
///    rejectInvalidCertOnce, within that call or later.
/// 3. The thread wakes, writes the decision into the CertificateValidityCache, unless it was a "once", and
///    ends the request. The joined threads wake and find the decision there; if they find none, the first of
///    them asks again.
/// A warning (userCanDecide false) takes the same road, but ends when the listener returns.
///
/// Obeys PersistInvalidCertDecisionPolicy, and follows the default policies. One per process, never
/// destroyed. Any thread may call. The listener is called with no lock held.
class ZEBNETUTILS_EXPORT InvalidCertNotificationManager : public common::PolicyDriven {
public:
    struct ZEBNETUTILS_EXPORT PromptDecision {
        enum Decision : int { ACCEPT_FOR_SESSION = 0, DENY = 1, UNKNOWN = 2 };
        /// YES to ACCEPT_FOR_SESSION, NO to DENY, anything else to UNKNOWN.
        static Decision build(CertAcceptanceDecision::Decision decision);
    };
    /// No decision exists, as the request failed or was aborted. Deliberately without a name of its own among
    /// the decisions: it prints as "Unexpected value (3)".
    static constexpr PromptDecision::Decision NO_DECISION = static_cast<PromptDecision::Decision>(3);

    struct AcceptanceOptions {
        enum Options : int { ACCEPT_FOR_SESSION = 0 };
    };

    /// Made and registered with DefaultPoliciesStore at the first call.
    static std::shared_ptr<InvalidCertNotificationManager> getInstance();

    ~InvalidCertNotificationManager() override;

    // For the host.

    /// Takes the place of the former listener. Requests that wait go on waiting for their answers.
    void registerInvalidCertListener(std::shared_ptr<InvalidCertListener> listener);

    // Each answers the question about that fingerprint: true when the answer was taken, false when nobody
    // asks or an answer is there already.

    /// Without ACCEPT_FOR_SESSION among the options there is no decision: the policy isn't enforced.
    virtual bool acceptInvalidCert(const std::string& fingerprint,
                                   std::set<AcceptanceOptions::Options> options);
    /// Rejects and remembers it.
    virtual bool rejectInvalidCert(const std::string& fingerprint);
    /// Rejects for the connection that asked; the next one asks again.
    virtual bool rejectInvalidCertOnce(const std::string& fingerprint);
    /// Rejects; `cacheable` tells whether that is remembered.
    virtual bool rejectInvalidCert(const std::string& fingerprint, bool cacheable);

    // For policies and verifiers.

    /// Whether a listener is registered.
    bool isInitialized() const;

    /// Whether the host may offer to keep a decision beyond this process; true without a policy.
    bool canDecisionBePersisted() const;

    /// Asks the user, unless another request for the same certificate brought a decision since the accessor
    /// looked into the cache, or while this thread waited for it. Blocks until there is a decision: DENY,
    /// ACCEPT_FOR_SESSION, UNKNOWN for an acceptance without a valid option, NO_DECISION when the wait was
    /// aborted. Throws std::logic_error when no listener is registered, and when the listener throws.
    PromptDecision::Decision promptUserForAction(const std::string& commonName, const std::string& identifier,
                                                 const std::string& identifierToDisplay,
                                                 const std::set<CertStatus::Status>& statuses,
                                                 const std::string& fingerprint, const std::string& leafPem,
                                                 const std::vector<std::string>& chainPem,
                                                 const CertificateCacheAccessor& accessor);

    /// Shows a warning, and remembers an acceptance (`succeed`) or a rejection as a user's decision. Shows
    /// nothing when another request for the same certificate brought a decision. Throws as above.
    void displayCertWarning(const std::string& commonName, const std::string& identifier,
                            const std::string& identifierToDisplay,
                            const std::set<CertStatus::Status>& statuses, const std::string& fingerprint,
                            const std::string& leafPem, const std::vector<std::string>& chainPem,
                            bool succeed, const CertificateCacheAccessor& accessor);

    /// Tells the listener that a certificate was refused for good. Throws as above.
    void reportRejectedCert(const std::string& fingerprint, const std::string& commonName,
                            const std::string& identifierToDisplay,
                            const std::set<CertStatus::Status>& statuses, const std::string& leafPem,
                            const std::vector<std::string>& chainPem);

    // For tests.

    /// Whether every answer belongs to a request, and all options to an answer.
    bool checkIntegrity() const;
    /// Wakes whoever waits here, without a decision, and forgets everything. The next getInstance() makes a
    /// new manager.
    void clearForTesting();

private:
    struct Response {
        bool accepted = false;
        std::set<AcceptanceOptions::Options> options;
    };
    friend std::ostream& operator<<(std::ostream& stream, const Response& response);

    InvalidCertNotificationManager();

    std::shared_ptr<InvalidCertListener> listenerOrThrow(const char* failure) const;
    PromptDecision::Decision getDecisionFromOtherRequests(const std::string& fingerprint,
                                                          const CertificateCacheAccessor& accessor);
    PromptDecision::Decision getDecisionFromInProgressRequest(const std::string& fingerprint,
                                                              const CertificateCacheAccessor& accessor);
    void sendRequest(const InvalidCertInfo& info, const char* noListener, ScopedLock& requestsLock);
    bool takeResponse(const std::string& fingerprint, const Response& response, bool cacheable);
    bool responseAvailable(const std::string& fingerprint) const;
    Response getResponse(const std::string& fingerprint) const;
    static PromptDecision::Decision buildDecision(const Response& response);
    PromptDecision::Decision manageResponse(const std::string& fingerprint, const Response& response,
                                            const CertificateCacheAccessor& accessor);
    bool canDecisionBeCached(const std::string& fingerprint) const;
    void completeRequest(const std::string& fingerprint, PromptDecision::Decision decision,
                         const CertificateCacheAccessor& accessor);
    void failRequest(const std::string& fingerprint, const std::logic_error& error,
                     const CertificateCacheAccessor& accessor);
    bool isAborted() const;

    // Lock order: requestsMutex_, then responsesMutex_.
    mutable Mutex requestsMutex_;  ///< guards listener_, requests_, aborted_; requestCompleted_ waits on it
    std::shared_ptr<InvalidCertListener> listener_;
    std::map<std::string, std::shared_ptr<Event>> requests_;  ///< by fingerprint, as all below
    mutable Mutex responsesMutex_;                            ///< guards responses_, cacheable_, options_
    std::map<std::string, bool> responses_;                   ///< true when accepted
    std::map<std::string, bool> cacheable_;
    std::map<std::string, std::set<AcceptanceOptions::Options>> options_;
    Condition requestCompleted_;
    bool aborted_ = false;
};

/// The enumerator's name; any other value prints as "Unexpected value (N)".
ZEBNETUTILS_EXPORT std::ostream& operator<<(
    std::ostream& stream, InvalidCertNotificationManager::PromptDecision::Decision decision);
ZEBNETUTILS_EXPORT std::ostream& operator<<(
    std::ostream& stream, InvalidCertNotificationManager::AcceptanceOptions::Options option);

}  // namespace zeb::cert

#include "cert/common/InvalidCertNotificationManager.h"

#include "cert/PersistInvalidCertDecisionPolicy.h"
#include "cert/common/CertificateCacheAccessor.h"
#include "cert/common/InvalidCertInfo.h"
#include "cert/common/InvalidCertListener.h"
#include "common/DefaultPoliciesStore.h"
#include "core/Event.h"
#include "core/Log.h"
#include "core/ScopedLock.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace zeb::cert {

namespace {

using common::Policy;
using PromptDecision = InvalidCertNotificationManager::PromptDecision;
using AcceptanceOptions = InvalidCertNotificationManager::AcceptanceOptions;

constexpr char NO_LISTENER_TO_PROMPT[] =
    "Unable to prompt the user. InvalidCertListener not registered. Unexpected condition!";
constexpr char NO_LISTENER_TO_WARN[] =
    "Unable to display a warning to the user. InvalidCertListener not registered. Unexpected condition!";
constexpr char NO_LISTENER_TO_REPORT[] =
    "Unable to report a rejected invalid certificate to the user. InvalidCertListener not registered. "
    "Unexpected condition!";

/// The one manager. Never destroyed: threads may still verify while static objects are.
struct Singleton {
    Mutex mutex;  ///< guards instance
    std::shared_ptr<InvalidCertNotificationManager> instance;
};

Singleton& singleton() {
    static auto& holder = *new Singleton;
    return holder;
}

InvalidCertInfo describe(const std::string& commonName, const std::string& identifier,
                         const std::string& identifierToDisplay, const std::set<CertStatus::Status>& statuses,
                         const std::string& fingerprint, const std::string& leafPem,
                         const std::vector<std::string>& chainPem) {
    InvalidCertInfo info;
    info.fingerprint = fingerprint;
    info.commonName = commonName;
    info.identifier = identifier;
    info.identifierToDisplay = identifierToDisplay;
    info.statuses = statuses;
    info.leafPem = leafPem;
    info.chainPem = chainPem;
    return info;
}

/// Runs the host's code. Whatever it throws leaves as the one exception that policies handle: between us and
/// the connection are frames of C.
template <typename Call>
void callHost(Call call) {
    try {
        call();
    } catch (const std::logic_error&) {
        throw;
    } catch (const std::exception& error) {
        throw std::logic_error(error.what());
    } catch (...) {
        throw std::logic_error("The InvalidCertListener threw something that is no std::exception");
    }
}

void updateCache(PromptDecision::Decision decision, const CertificateCacheAccessor& accessor) {
    if (decision == PromptDecision::ACCEPT_FOR_SESSION) {
        accessor.updateCacheAccepted();
    } else if (decision == PromptDecision::DENY) {
        accessor.updateCacheRejected();
    }
}

}  // namespace

PromptDecision::Decision PromptDecision::build(CertAcceptanceDecision::Decision decision) {
    switch (decision) {
        case CertAcceptanceDecision::YES:
            return ACCEPT_FOR_SESSION;
        case CertAcceptanceDecision::NO:
            return DENY;
        default:
            return UNKNOWN;
    }
}

std::shared_ptr<InvalidCertNotificationManager> InvalidCertNotificationManager::getInstance() {
    const ScopedLock lock(singleton().mutex);
    auto& instance = singleton().instance;
    if (instance == nullptr) {
        instance.reset(new InvalidCertNotificationManager);
        common::DefaultPoliciesStore::registerForDefaultPoliciesChanges(instance);
    }
    return instance;
}

InvalidCertNotificationManager::InvalidCertNotificationManager() : PolicyDriven(true) {}

InvalidCertNotificationManager::~InvalidCertNotificationManager() = default;

void InvalidCertNotificationManager::registerInvalidCertListener(
    std::shared_ptr<InvalidCertListener> listener) {
    // The former one ends with the parameter, after the lock: it is the host's code.
    const ScopedLock lock(requestsMutex_);
    listener_.swap(listener);
    aborted_ = false;
}

bool InvalidCertNotificationManager::isInitialized() const {
    const ScopedLock lock(requestsMutex_);
    return listener_ != nullptr;
}

bool InvalidCertNotificationManager::isAborted() const {
    const ScopedLock lock(requestsMutex_);
    return aborted_;
}

std::shared_ptr<InvalidCertListener> InvalidCertNotificationManager::listenerOrThrow(
    const char* failure) const {
    const ScopedLock lock(requestsMutex_);
    if (listener_ == nullptr) {
        ZEB_LOG_ERROR(log::cert(), failure);
        throw std::logic_error(
            "No InvalidCertListener registered to the InvalidCertNotificationManager. Unexpected condition!");
    }
    return listener_;
}

bool InvalidCertNotificationManager::canDecisionBePersisted() const {
    bool persist = true;
    const auto policy = std::dynamic_pointer_cast<PersistInvalidCertDecisionPolicy>(
        getPolicy(Policy::PolicyNature::PERSIST_INVALID_CERT_DECISION));
    if (policy == nullptr) {
        ZEB_LOG_WARNING(log::cert(),
                        "Persist Invalid Cert Decision Policy not available, using default value");
    } else {
        policy->enforce(persist);
    }
    return persist;
}

PromptDecision::Decision InvalidCertNotificationManager::promptUserForAction(
    const std::string& commonName, const std::string& identifier, const std::string& identifierToDisplay,
    const std::set<CertStatus::Status>& statuses, const std::string& fingerprint, const std::string& leafPem,
    const std::vector<std::string>& chainPem, const CertificateCacheAccessor& accessor) {
    (void)listenerOrThrow(NO_LISTENER_TO_PROMPT);
    ZEB_LOG_INFO(log::cert(), "Prompting the user for invalid cert " << ZEBLogger_replacePIIData(commonName)
                                                                     << " with fingerprint " << fingerprint
                                                                     << " reporting failure " << statuses);
    ScopedLock lock(requestsMutex_);
    const auto found = getDecisionFromOtherRequests(fingerprint, accessor);
    if (found != PromptDecision::UNKNOWN) {
        ZEB_LOG_INFO(log::cert(), "Got a decision from in progress request : " << found);
        return found;
    }
    InvalidCertInfo info =
        describe(commonName, identifier, identifierToDisplay, statuses, fingerprint, leafPem, chainPem);
    info.userCanDecide = true;
    info.canBePersisted = canDecisionBePersisted();
    try {
        sendRequest(info, NO_LISTENER_TO_PROMPT, lock);
        if (isAborted()) {
            ZEB_LOG_WARNING(log::cert(), "No decision to report. The request has been aborted");
            return NO_DECISION;
        }
        return manageResponse(fingerprint, getResponse(fingerprint), accessor);
    } catch (const std::logic_error& error) {
        failRequest(fingerprint, error, accessor);
        throw;
    }
}

void InvalidCertNotificationManager::displayCertWarning(
    const std::string& commonName, const std::string& identifier, const std::string& identifierToDisplay,
    const std::set<CertStatus::Status>& statuses, const std::string& fingerprint, const std::string& leafPem,
    const std::vector<std::string>& chainPem, bool succeed, const CertificateCacheAccessor& accessor) {
    (void)listenerOrThrow(NO_LISTENER_TO_WARN);
    ZEB_LOG_INFO(log::cert(), "Warning the user for invalid cert " << ZEBLogger_replacePIIData(commonName)
                                                                   << " with fingerprint " << fingerprint
                                                                   << " reporting failure " << statuses);
    ScopedLock lock(requestsMutex_);
    const auto found = getDecisionFromOtherRequests(fingerprint, accessor);
    if (found != PromptDecision::UNKNOWN) {
        ZEB_LOG_INFO(log::cert(), "Got a decision from in progress request: " << found);
        return;
    }
    const InvalidCertInfo info =
        describe(commonName, identifier, identifierToDisplay, statuses, fingerprint, leafPem, chainPem);
    try {
        sendRequest(info, NO_LISTENER_TO_WARN, lock);
        completeRequest(fingerprint, succeed ? PromptDecision::ACCEPT_FOR_SESSION : PromptDecision::DENY,
                        accessor);
    } catch (const std::logic_error& error) {
        failRequest(fingerprint, error, accessor);
        throw;
    }
}

void InvalidCertNotificationManager::reportRejectedCert(const std::string& fingerprint,
                                                        const std::string& commonName,
                                                        const std::string& identifierToDisplay,
                                                        const std::set<CertStatus::Status>& statuses,
                                                        const std::string& leafPem,
                                                        const std::vector<std::string>& chainPem) {
    const auto listener = listenerOrThrow(NO_LISTENER_TO_REPORT);
    ZEB_LOG_INFO(log::cert(),
                 "Sending a rejected invalid cert event to the InvalidCertListener for cert with fingerprint "
                     << fingerprint);
    callHost([&] {
        listener->reportRejectedCert(fingerprint, commonName, identifierToDisplay, statuses, leafPem,
                                     chainPem);
    });
}

PromptDecision::Decision InvalidCertNotificationManager::getDecisionFromOtherRequests(
    const std::string& fingerprint, const CertificateCacheAccessor& accessor) {
    const auto decision = getDecisionFromInProgressRequest(fingerprint, accessor);
    // Who never looked into the cache wants the user's word, whatever stands there.
    if (decision != PromptDecision::UNKNOWN || !accessor.hasLookedIntoCache()) {
        return decision;
    }
    // The request that this thread would have joined may have ended since it looked: without another look,
    // now that no request can begin or end, the user would be asked twice.
    return PromptDecision::build(accessor.buildDecisionFromCache());
}

PromptDecision::Decision InvalidCertNotificationManager::getDecisionFromInProgressRequest(
    const std::string& fingerprint, const CertificateCacheAccessor& accessor) {
    while (requests_.count(fingerprint) != 0) {
        ZEB_LOG_DEBUG(log::cert(),
                      "There is an in progress request for this cert. Waiting for its completion");
        requestCompleted_.wait(requestsMutex_);
        if (aborted_) {
            return NO_DECISION;
        }
        const auto decision = PromptDecision::build(accessor.buildDecisionFromCache());
        if (decision != PromptDecision::UNKNOWN) {
            ZEB_LOG_DEBUG(log::cert(), "Found a cached response");
            return decision;
        }
        ZEB_LOG_DEBUG(log::cert(),
                      "No cached responses found checking if there is any other in progress request for it");
    }
    ZEB_LOG_DEBUG(log::cert(), "No in progress requests");
    return PromptDecision::UNKNOWN;
}

void InvalidCertNotificationManager::sendRequest(const InvalidCertInfo& info, const char* noListener,
                                                 ScopedLock& requestsLock) {
    ZEB_LOG_DEBUG(log::cert(), "Sending a request to the InvalidCertListener. The user "
                                   << (info.userCanDecide ? "can" : "cannot") << " take a decision");
    // Asked for again: it may have gone while this thread was waiting for another request.
    const auto listener = listenerOrThrow(noListener);
    const auto event = std::make_shared<Event>(true);
    requests_[info.fingerprint] = event;
    requestsLock.unlock();

    callHost([&] { listener->prompUserForAction(info); });
    ZEB_LOG_DEBUG(log::cert(), "Request sent");
    if (info.userCanDecide && !responseAvailable(info.fingerprint)) {
        ZEB_LOG_DEBUG(log::cert(), "No response available yet, waiting for a response to come");
        event->wait();
    }
}

bool InvalidCertNotificationManager::acceptInvalidCert(const std::string& fingerprint,
                                                       std::set<AcceptanceOptions::Options> options) {
    ZEB_LOG_INFO(log::cert(), "User has accepted the request with fingerprint " << fingerprint);
    return takeResponse(fingerprint, {true, std::move(options)}, true);
}

bool InvalidCertNotificationManager::rejectInvalidCert(const std::string& fingerprint) {
    return rejectInvalidCert(fingerprint, true);
}

bool InvalidCertNotificationManager::rejectInvalidCertOnce(const std::string& fingerprint) {
    return rejectInvalidCert(fingerprint, false);
}

bool InvalidCertNotificationManager::rejectInvalidCert(const std::string& fingerprint, bool cacheable) {
    ZEB_LOG_INFO(log::cert(), "User has rejected the request with fingerprint " << fingerprint);
    return takeResponse(fingerprint, {false, {}}, cacheable);
}

bool InvalidCertNotificationManager::takeResponse(const std::string& fingerprint, const Response& response,
                                                  bool cacheable) {
    const ScopedLock requestsLock(requestsMutex_);
    const auto request = requests_.find(fingerprint);
    if (request == requests_.end()) {
        ZEB_LOG_ERROR(log::cert(), (response.accepted
                                        ? "Received an accept response for a prompt request not in progress"
                                        : "Received a reject response for a prompt request not in progress"));
        return false;
    }
    const ScopedLock responsesLock(responsesMutex_);
    if (responses_.count(fingerprint) != 0) {
        ZEB_LOG_ERROR(log::cert(),
                      (response.accepted
                           ? "Received an accept response for a prompt request that has already a response"
                           : "Received a reject response for a prompt request that has already a response"));
        return false;
    }
    responses_[fingerprint] = response.accepted;
    cacheable_[fingerprint] = cacheable;
    if (!response.options.empty()) {
        options_[fingerprint] = response.options;
    }
    request->second->set();
    ZEB_LOG_DEBUG(log::cert(), "Signal has been sent.");
    return true;
}

bool InvalidCertNotificationManager::responseAvailable(const std::string& fingerprint) const {
    const ScopedLock lock(responsesMutex_);
    return responses_.count(fingerprint) != 0;
}

InvalidCertNotificationManager::Response InvalidCertNotificationManager::getResponse(
    const std::string& fingerprint) const {
    const ScopedLock lock(responsesMutex_);
    const auto accepted = responses_.find(fingerprint);
    if (accepted == responses_.end()) {
        ZEB_LOG_ERROR(log::cert(), "Unable to retrieve a response to prompt request. Unexpected condition!");
        throw std::logic_error("No response available for a completed prompt request. Unexpected condition!");
    }
    if (!accepted->second) {
        return {false, {}};
    }
    const auto options = options_.find(fingerprint);
    if (options == options_.end()) {
        ZEB_LOG_WARNING(log::cert(),
                        "The prompt request has been accepted but no options have been provided. Unexpected "
                        "condition!");
        return {true, {}};
    }
    return {true, options->second};
}

PromptDecision::Decision InvalidCertNotificationManager::buildDecision(const Response& response) {
    if (!response.accepted) {
        return PromptDecision::DENY;
    }
    bool accepted = false;
    for (const AcceptanceOptions::Options option : response.options) {
        if (option == AcceptanceOptions::ACCEPT_FOR_SESSION) {
            accepted = true;
        } else {
            ZEB_LOG_WARNING(log::cert(), "Received an unmanaged option" << static_cast<int>(option));
        }
    }
    return accepted ? PromptDecision::ACCEPT_FOR_SESSION : PromptDecision::UNKNOWN;
}

PromptDecision::Decision InvalidCertNotificationManager::manageResponse(
    const std::string& fingerprint, const Response& response, const CertificateCacheAccessor& accessor) {
    const auto decision = buildDecision(response);
    ZEB_LOG_INFO(log::cert(),
                 "Managing the response received: " << response << " User decision is " << decision);
    completeRequest(fingerprint, decision, accessor);
    return decision;
}

bool InvalidCertNotificationManager::canDecisionBeCached(const std::string& fingerprint) const {
    const ScopedLock lock(responsesMutex_);
    const auto entry = cacheable_.find(fingerprint);
    return entry == cacheable_.end() || entry->second;
}

void InvalidCertNotificationManager::completeRequest(const std::string& fingerprint,
                                                     PromptDecision::Decision decision,
                                                     const CertificateCacheAccessor& accessor) {
    ZEB_LOG_DEBUG(log::cert(), "Completing the request");
    // The cache first: whoever was joined to the request looks there once it has gone.
    if (canDecisionBeCached(fingerprint)) {
        updateCache(decision, accessor);
    }
    {
        const ScopedLock requestsLock(requestsMutex_);
        const ScopedLock responsesLock(responsesMutex_);
        requests_.erase(fingerprint);
        responses_.erase(fingerprint);
        cacheable_.erase(fingerprint);
        options_.erase(fingerprint);
    }
    ZEB_LOG_DEBUG(log::cert(), "Notifying any possible waiting request on this certificate");
    requestCompleted_.broadcast();
    ZEB_LOG_DEBUG(log::cert(), "Request completed");
}

void InvalidCertNotificationManager::failRequest(const std::string& fingerprint,
                                                 const std::logic_error& error,
                                                 const CertificateCacheAccessor& accessor) {
    ZEB_LOG_ERROR(log::cert(),
                  "received a logic_error from InvalidCertListener::prompUserForAction : " << error.what());
    completeRequest(fingerprint, NO_DECISION, accessor);
}

bool InvalidCertNotificationManager::checkIntegrity() const {
    const ScopedLock requestsLock(requestsMutex_);
    const ScopedLock responsesLock(responsesMutex_);
    const auto keysStandIn = [](const auto& map, const auto& other) {
        return std::all_of(map.begin(), map.end(),
                           [&](const auto& entry) { return other.count(entry.first) != 0; });
    };
    return keysStandIn(responses_, requests_) && keysStandIn(options_, responses_);
}

void InvalidCertNotificationManager::clearForTesting() {
    ZEB_LOG_WARNING(log::cert(), "Cleaning the state. We MUST be in a test");
    // Both end after the locks.
    std::shared_ptr<InvalidCertListener> listener;
    std::shared_ptr<InvalidCertNotificationManager> instance;
    {
        const ScopedLock requestsLock(requestsMutex_);
        const ScopedLock responsesLock(responsesMutex_);
        listener_.swap(listener);
        for (const auto& request : requests_) {
            request.second->set();
        }
        requests_.clear();
        responses_.clear();
        cacheable_.clear();
        options_.clear();
        aborted_ = true;
        requestCompleted_.broadcast();
    }
    const ScopedLock lock(singleton().mutex);
    singleton().instance.swap(instance);
}

std::ostream& operator<<(std::ostream& stream, PromptDecision::Decision decision) {
    switch (decision) {
        case PromptDecision::ACCEPT_FOR_SESSION:
            return stream << "ACCEPT_FOR_SESSION";
        case PromptDecision::DENY:
            return stream << "DENY";
        case PromptDecision::UNKNOWN:
            return stream << "UNKNOWN";
    }
    return stream << "Unexpected value (" << static_cast<int>(decision) << ")";
}

std::ostream& operator<<(std::ostream& stream, AcceptanceOptions::Options option) {
    if (option == AcceptanceOptions::ACCEPT_FOR_SESSION) {
        return stream << "ACCEPT_FOR_SESSION";
    }
    return stream << "Unexpected value (" << static_cast<int>(option) << ")";
}

std::ostream& operator<<(std::ostream& stream, const InvalidCertNotificationManager::Response& response) {
    stream << "Certificate " << (response.accepted ? "accepted" : "rejected");
    if (!response.options.empty()) {
        stream << " Options:";
        for (const AcceptanceOptions::Options option : response.options) {
            stream << " " << option;
        }
    }
    return stream;
}

}  // namespace zeb::cert

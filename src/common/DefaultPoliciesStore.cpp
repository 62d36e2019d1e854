#include "common/DefaultPoliciesStore.h"

#include "common/PolicySet.h"
#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"

#include <utility>
#include <vector>

namespace zeb::common {

namespace {

using Observers = std::set<std::weak_ptr<DefaultPoliciesStoreObserver>,
                           std::owner_less<std::weak_ptr<DefaultPoliciesStoreObserver>>>;

// Made on first use and never destroyed: static objects may use the store from their constructors and
// destructors, whatever the order.

PolicySet& policySet() {
    static auto& set = *new PolicySet;
    return set;
}

Observers& observers() {
    static auto& set = *new Observers;
    return set;
}

/// Guards observers().
Mutex& observersMutex() {
    static auto& mutex = *new Mutex;
    return mutex;
}

/// The living observers; the dead ones are dropped. Call with the observers' mutex held.
std::vector<std::shared_ptr<DefaultPoliciesStoreObserver>> livingObservers() {
    std::vector<std::shared_ptr<DefaultPoliciesStoreObserver>> living;
    for (auto entry = observers().begin(); entry != observers().end();) {
        if (std::shared_ptr<DefaultPoliciesStoreObserver> observer = entry->lock()) {
            living.push_back(std::move(observer));
            ++entry;
        } else {
            entry = observers().erase(entry);
        }
    }
    return living;
}

}  // namespace

std::shared_ptr<Policy> DefaultPoliciesStore::getPolicy(Policy::PolicyNature::Nature nature) {
    return policySet().getPolicy(nature);
}

std::set<std::shared_ptr<Policy>> DefaultPoliciesStore::getAllPolicies() {
    return policySet().getAll();
}

void DefaultPoliciesStore::setPolicy(const std::shared_ptr<Policy>& policy) {
    if (policy == nullptr || policySet().contains(policy)) {
        return;
    }
    policySet().addPolicy(policy);
    ZEB_LOG_DEBUG(log::common(), "Policy set : " << policy->getNature() << '[' << policy->getName() << ']');
    notifyObservers();
}

void DefaultPoliciesStore::removePolicy(Policy::PolicyNature::Nature nature) {
    policySet().removePolicy(nature);
}

void DefaultPoliciesStore::registerForDefaultPoliciesChanges(
    std::weak_ptr<DefaultPoliciesStoreObserver> observer) {
    ScopedLock lock(observersMutex());
    observers().insert(std::move(observer));
}

void DefaultPoliciesStore::unregister(const std::weak_ptr<DefaultPoliciesStoreObserver>& observer) {
    ScopedLock lock(observersMutex());
    observers().erase(observer);
}

void DefaultPoliciesStore::notifyObservers() {
    ScopedLock lock(observersMutex());
    ZEB_LOG_DEBUG(log::common(), "Notifying my observers");
    const auto living = livingObservers();
    lock.unlock();
    for (const std::shared_ptr<DefaultPoliciesStoreObserver>& observer : living) {
        observer->onDefaultPoliciesStoreUpdate();
    }
    if (!living.empty()) {
        ZEB_LOG_DEBUG(log::common(), "Notified " << living.size() << " observers");
    }
}

void DefaultPoliciesStore::reset() {
    policySet().removeAll();
    observers().clear();
}

std::size_t DefaultPoliciesStore::getNumObservers() {
    ScopedLock lock(observersMutex());
    return observers().size();
}

}  // namespace zeb::common

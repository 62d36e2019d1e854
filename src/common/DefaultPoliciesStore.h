#pragma once

#include "common/DefaultPoliciesStoreObserver.h"
#include "common/Policy.h"
#include "core/Export.h"

#include <cstddef>
#include <memory>
#include <set>

namespace zeb::common {

/// The process-wide default policies, set by the host. Every PolicyDriven object takes them over at its
/// construction, and on each change if it follows the defaults.
///
/// Any thread may call, also from static constructors and destructors; only reset() asks for a quiet process.
class ZEBNETUTILS_EXPORT DefaultPoliciesStore {
public:
    DefaultPoliciesStore() = delete;

    /// The default of that nature, else Policy::UNKNOWN_POLICY. Never null.
    static std::shared_ptr<Policy> getPolicy(Policy::PolicyNature::Nature nature);
    static std::set<std::shared_ptr<Policy>> getAllPolicies();

    /// Stores the policy and notifies the observers, on this thread, before it returns. A policy equal to the
    /// stored one changes nothing and nobody hears of it; null is ignored. Two threads that set at the same
    /// time may both notify.
    static void setPolicy(const std::shared_ptr<Policy>& policy);
    /// Notifies nobody: objects that took the policy over keep it.
    static void removePolicy(Policy::PolicyNature::Nature nature);

    /// The store holds the observer weakly. A dead one is dropped at the next notification.
    static void registerForDefaultPoliciesChanges(std::weak_ptr<DefaultPoliciesStoreObserver> observer);
    static void unregister(const std::weak_ptr<DefaultPoliciesStoreObserver>& observer);
    /// Calls every living observer with no lock held.
    static void notifyObservers();

    /// Forgets policies and observers. For tests: it doesn't take the observers' mutex, so no other thread
    /// may be in the store.
    static void reset();
    /// Registered observers, dead ones included until the next notification.
    static std::size_t getNumObservers();
};

}  // namespace zeb::common

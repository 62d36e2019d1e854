#pragma once

#include "core/Export.h"

namespace zeb::common {

/// Hears of changes of the process-wide default policies. Registered with DefaultPoliciesStore, which holds
/// it weakly.
class ZEBNETUTILS_EXPORT DefaultPoliciesStoreObserver {
public:
    virtual ~DefaultPoliciesStoreObserver();

    /// Called on the thread that changed a default, with no lock of the store held: it may register,
    /// unregister or read the store.
    virtual void onDefaultPoliciesStoreUpdate() = 0;
};

}  // namespace zeb::common

#include "common/DefaultPoliciesStoreObserver.h"

namespace zeb::common {

DefaultPoliciesStoreObserver::~DefaultPoliciesStoreObserver() = default;

}  // namespace zeb::common

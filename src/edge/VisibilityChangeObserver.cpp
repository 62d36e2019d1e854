#include "edge/VisibilityChangeObserver.h"

namespace zeb::edge {

VisibilityChangeObserver::~VisibilityChangeObserver() = default;

}  // namespace zeb::edge

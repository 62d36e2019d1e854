#pragma once

#include "core/Export.h"

namespace zeb::edge {

/// Hears whether the enterprise can be reached directly and whether an edge server can be.
class ZEBNETUTILS_EXPORT VisibilityChangeObserver {
public:
    virtual void onVisibilityChange(bool internalAvailable, bool edgeAvailable,
                                    bool srvRecordOrderChanged) = 0;
    virtual ~VisibilityChangeObserver();
};

}  // namespace zeb::edge

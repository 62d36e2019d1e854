#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::netutils {

/// Stands around a piece of work that should go on while the application is in the background. On this
/// platform it only writes to the log: nothing here stops such work.
class ZEBNETUTILS_EXPORT BackgroundTaskMarker {
public:
    explicit BackgroundTaskMarker(std::string taskName);

    void markProgress() const;

private:
    const std::string taskName_;
    const int id_ = 0;
};

}  // namespace zeb::netutils

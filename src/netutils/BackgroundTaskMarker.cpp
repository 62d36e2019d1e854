#include "netutils/BackgroundTaskMarker.h"

#include "core/Log.h"

#include <utility>

namespace zeb::netutils {

BackgroundTaskMarker::BackgroundTaskMarker(std::string taskName) : taskName_(std::move(taskName)) {}

void BackgroundTaskMarker::markProgress() const {
    ZEB_LOG_DEBUG(log::netutils(),
                  "Progressing through background task " << taskName_ << ", id " << id_ << ".");
}

}  // namespace zeb::netutils

#pragma once

#include "core/Export.h"

#include <atomic>
#include <memory>

namespace zeb::netutils {

/// What the host tells of its own life. One per process; any thread may call.
class ZEBNETUTILS_EXPORT ApplicationEventHandler {
public:
    static std::shared_ptr<ApplicationEventHandler> getInstance();

    ApplicationEventHandler(const ApplicationEventHandler&) = delete;
    ApplicationEventHandler& operator=(const ApplicationEventHandler&) = delete;

    /// The host is on its way out: every HTTP request that has not begun ends with REQUEST_CANCELLED from now
    /// on. There is no way back.
    void onApplicationKilled();
    bool isApplicationKilled() const;

private:
    ApplicationEventHandler() = default;

    std::atomic<bool> applicationKilled_{false};
};

}  // namespace zeb::netutils

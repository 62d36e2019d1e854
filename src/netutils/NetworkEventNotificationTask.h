#pragma once

#include "core/Export.h"
#include "core/Task.h"

#include <memory>
#include <string>

namespace zeb::netutils {

class NetworkEventCallback;

/// One call of one callback. Keeps the callback alive until then.
class ZEBNETUTILS_EXPORT NetworkEventNotificationTask : public Task {
public:
    /// `callback` isn't null.
    NetworkEventNotificationTask(std::shared_ptr<NetworkEventCallback> callback, std::string eventName);
    ~NetworkEventNotificationTask() override;

    void execute() override;

private:
    const std::shared_ptr<NetworkEventCallback> callback_;
    const std::string eventName_;
};

}  // namespace zeb::netutils

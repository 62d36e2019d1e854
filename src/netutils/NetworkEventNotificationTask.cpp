#include "netutils/NetworkEventNotificationTask.h"

#include "core/Log.h"
#include "netutils/NetworkEventCallback.h"

#include <utility>

namespace zeb::netutils {

NetworkEventNotificationTask::NetworkEventNotificationTask(std::shared_ptr<NetworkEventCallback> callback,
                                                           std::string eventName)
    : callback_(std::move(callback)), eventName_(std::move(eventName)) {}

NetworkEventNotificationTask::~NetworkEventNotificationTask() = default;

void NetworkEventNotificationTask::execute() {
    ZEB_LOG_DEBUG(log::netutils(), "Executing a NetworkEventNotificationTask for event: " << eventName_);
    callback_->onNetworkEvent(eventName_);
}

}  // namespace zeb::netutils

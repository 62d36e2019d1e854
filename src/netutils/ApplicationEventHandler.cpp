#include "netutils/ApplicationEventHandler.h"

namespace zeb::netutils {

std::shared_ptr<ApplicationEventHandler> ApplicationEventHandler::getInstance() {
    // Never destroyed: transfers may still run while the process ends.
    static const auto* const instance =
        new std::shared_ptr<ApplicationEventHandler>(new ApplicationEventHandler);
    return *instance;
}

void ApplicationEventHandler::onApplicationKilled() {
    applicationKilled_ = true;
}

bool ApplicationEventHandler::isApplicationKilled() const {
    return applicationKilled_;
}

}  // namespace zeb::netutils

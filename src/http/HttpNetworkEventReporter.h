#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::http {

/// To whom the HTTP clients tell what their transfers say about the network. Called on transfer threads,
/// after each transfer; must not block.
class ZEBNETUTILS_EXPORT HttpNetworkEventReporter {
public:
    virtual void hintNetworkInterfaceMightHaveDropped(const std::string& reason) = 0;
    virtual void hintNetworkStackNotReady(const std::string& reason) = 0;
    virtual void hintNetworkIsInUse(const std::string& reason) = 0;
    virtual void edgeInfrastructureEvent(const std::string& eventName, const std::string& host) = 0;
    virtual ~HttpNetworkEventReporter();
};

}  // namespace zeb::http

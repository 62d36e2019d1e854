#pragma once

#include "core/Export.h"
#include "http/HttpNetworkEventReporter.h"

#include <memory>
#include <string>

namespace zeb::netutils {
class NetworkEventReporter;
}

namespace zeb::netutils::adapters {

/// Passes what the HTTP clients' transfers saw on to the NetworkEventReporter: each operation to its
/// namesake. Any thread may call.
class ZEBNETUTILS_EXPORT HttpEventReporterAdapter : public http::HttpNetworkEventReporter {
public:
    /// Without a reporter nobody is told.
    explicit HttpEventReporterAdapter(std::shared_ptr<NetworkEventReporter> reporter);
    ~HttpEventReporterAdapter() override;

    void hintNetworkInterfaceMightHaveDropped(const std::string& reason) override;
    void hintNetworkStackNotReady(const std::string& reason) override;
    void hintNetworkIsInUse(const std::string& reason) override;
    void edgeInfrastructureEvent(const std::string& eventName, const std::string& host) override;

private:
    const std::shared_ptr<NetworkEventReporter> reporter_;
};

}  // namespace zeb::netutils::adapters

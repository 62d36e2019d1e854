#include "netutils/adapters/HttpEventReporterAdapter.h"

#include "netutils/NetworkEventReporter.h"

#include <utility>

namespace zeb::netutils::adapters {

HttpEventReporterAdapter::HttpEventReporterAdapter(std::shared_ptr<NetworkEventReporter> reporter)
    : reporter_(std::move(reporter)) {}

HttpEventReporterAdapter::~HttpEventReporterAdapter() = default;

void HttpEventReporterAdapter::hintNetworkInterfaceMightHaveDropped(const std::string& reason) {
    if (reporter_ != nullptr) {
        reporter_->hintNetworkInterfaceMightHaveDropped(reason);
    }
}

void HttpEventReporterAdapter::hintNetworkStackNotReady(const std::string& reason) {
    if (reporter_ != nullptr) {
        reporter_->hintNetworkStackNotReady(reason);
    }
}

void HttpEventReporterAdapter::hintNetworkIsInUse(const std::string& reason) {
    if (reporter_ != nullptr) {
        reporter_->hintNetworkIsInUse(reason);
    }
}

void HttpEventReporterAdapter::edgeInfrastructureEvent(const std::string& eventName,
                                                       const std::string& host) {
    if (reporter_ != nullptr) {
        reporter_->edgeInfrastructureEvent(eventName, host);
    }
}

}  // namespace zeb::netutils::adapters

#pragma once

#include "core/Task.h"
#include "http/MultiHttpClientImpl.h"

#include <memory>

namespace zeb::http {

/// One request on its way from the caller to its transfer. The request is let go of as soon as it has been
/// handed on.
class MultiHttpClientImpl::EnqueueClientDataTask : public Task {
public:
    EnqueueClientDataTask(std::shared_ptr<MultiHttpClientData> clientData,
                          std::shared_ptr<RequestProcessing> requestProcessing);
    void execute() override;

private:
    std::shared_ptr<MultiHttpClientData> clientData_;
    const std::shared_ptr<RequestProcessing> requestProcessing_;
};

}  // namespace zeb::http

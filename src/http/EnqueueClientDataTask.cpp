#include "http/EnqueueClientDataTask.h"

#include "http/RequestProcessing.h"

#include <utility>

namespace zeb::http {

MultiHttpClientImpl::EnqueueClientDataTask::EnqueueClientDataTask(
    std::shared_ptr<MultiHttpClientData> clientData, std::shared_ptr<RequestProcessing> requestProcessing)
    : clientData_(std::move(clientData)), requestProcessing_(std::move(requestProcessing)) {}

void MultiHttpClientImpl::EnqueueClientDataTask::execute() {
    requestProcessing_->enqueueClientData(std::move(clientData_));
}

}  // namespace zeb::http

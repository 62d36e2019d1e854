#include "http/MultiHttpClientData.h"

#include <utility>

namespace zeb::http {

MultiHttpClientData::MultiHttpClientData(std::shared_ptr<HttpNetworkEventReporter> reporter,
                                         std::shared_ptr<EdgeTransformer> edgeTransformer,
                                         std::shared_ptr<HttpRequestData> requestData)
    : HttpClientData(std::move(reporter), std::move(edgeTransformer), Lending::TO_ONE),
      requestData_(std::move(requestData)) {}

MultiHttpClientData::~MultiHttpClientData() = default;

std::shared_ptr<MultiHttpClientData> MultiHttpClientData::build(
    std::shared_ptr<HttpNetworkEventReporter> reporter, std::shared_ptr<EdgeTransformer> edgeTransformer,
    std::shared_ptr<HttpRequestData> requestData) {
    return std::shared_ptr<MultiHttpClientData>(
        new MultiHttpClientData(std::move(reporter), std::move(edgeTransformer), std::move(requestData)));
}

}  // namespace zeb::http

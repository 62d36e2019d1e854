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
    /// Its constructor is one that std::make_shared() may call.
    struct Shared : MultiHttpClientData {
        Shared(std::shared_ptr<HttpNetworkEventReporter>&& itsReporter,
               std::shared_ptr<EdgeTransformer>&& itsEdgeTransformer,
               std::shared_ptr<HttpRequestData>&& itsRequestData)
            : MultiHttpClientData(std::move(itsReporter), std::move(itsEdgeTransformer),
                                  std::move(itsRequestData)) {}
    };
    return std::make_shared<Shared>(std::move(reporter), std::move(edgeTransformer), std::move(requestData));
}

}  // namespace zeb::http

#pragma once

#include "core/Export.h"
#include "http/HttpClientData.h"

#include <memory>

namespace zeb::http {

/// The client data of one request of a multi client: each has an easy handle of its own.
class ZEBNETUTILS_EXPORT MultiHttpClientData : public HttpClientData {
public:
    static std::shared_ptr<MultiHttpClientData> build(std::shared_ptr<HttpNetworkEventReporter> reporter,
                                                      std::shared_ptr<EdgeTransformer> edgeTransformer,
                                                      std::shared_ptr<HttpRequestData> requestData);
    ~MultiHttpClientData() override;

    const std::shared_ptr<HttpRequestData>& getRequestData() const { return requestData_; }

private:
    MultiHttpClientData(std::shared_ptr<HttpNetworkEventReporter> reporter,
                        std::shared_ptr<EdgeTransformer> edgeTransformer,
                        std::shared_ptr<HttpRequestData> requestData);

    const std::shared_ptr<HttpRequestData> requestData_;
};

}  // namespace zeb::http

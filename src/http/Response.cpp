#include "http/Response.h"

#include "qrmcoreutils/QRMCoreUtils.h"

namespace zeb::http {

Response::Response()
    : redirectUrls(std::make_shared<std::vector<std::string>>()), headers(std::make_shared<HttpHeaders>()) {}

Response::~Response() = default;

std::string Response::getHeader(const std::string& name) const {
    if (headers != nullptr) {
        for (const HttpHeader& header : *headers) {
            if (QRMCoreUtils::caseInsensitiveStringEquals(header.first, name)) {
                return header.second;
            }
        }
    }
    return {};
}

}  // namespace zeb::http

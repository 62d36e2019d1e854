#include "http/Response.h"

#include "qrmcoreutils/QRMCoreUtils.h"

namespace zeb::http {

namespace {

/// What each response has, in one piece.
struct Lists {
    std::vector<std::string> redirectUrls;
    HttpHeaders headers;
};

}  // namespace

Response::Response() {
    const auto lists = std::make_shared<Lists>();
    redirectUrls = {lists, &lists->redirectUrls};
    headers = {lists, &lists->headers};
}

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

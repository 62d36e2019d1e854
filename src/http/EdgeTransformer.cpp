#include "http/EdgeTransformer.h"

namespace zeb::http {

EdgeTransformer::~EdgeTransformer() = default;

std::ostream& operator<<(std::ostream& stream, EdgeTransformer::TransformRequestResult::Result result) {
    using Result = EdgeTransformer::TransformRequestResult;
    switch (result) {
        case Result::SUCCESS:
            return stream << "SUCCESS";
        case Result::INVALID_PARAMETERS:
            return stream << "INVALID_PARAMETERS";
        case Result::MALFORMED_REQUEST:
            return stream << "MALFORMED_REQUEST";
        case Result::EDGE_ENVIRONMENT_UNAVAILABLE:
            return stream << "EDGE_ENVIRONMENT_UNAVAILABLE";
        case Result::EDGE_AUTHENTICATION_FAILED:
            return stream << "EDGE_AUTHENTICATION_FAILED";
        case Result::EDGE_SSL_CONNECTION_ERROR:
            return stream << "EDGE_SSL_CONNECTION_ERROR";
        case Result::UNKNOWN:
            return stream << "UNKNOWN";
        case Result::EDGE_TOKEN_EXPIRED:
        case Result::EDGE_PROXY_TOKEN_EXPIRED:
        case Result::EDGE_DISABLED_BY_OVT_POLICY:
            break;
    }
    return stream << "Unexpected value (" << static_cast<int>(result) << ")";
}

}  // namespace zeb::http

#include "edge/EdgeConfigRequest.h"

namespace zeb::edge {

EdgeConfigRequest::~EdgeConfigRequest() = default;

std::ostream& operator<<(std::ostream& stream, EdgeConfigRequest::Result result) {
    switch (result) {
        case EdgeConfigRequest::SUCCESS:
            return stream << "SUCCESS";
        case EdgeConfigRequest::ILLEGAL_ARGUMENT:
            return stream << "ILLEGAL_ARGUMENT";
        case EdgeConfigRequest::FAILED_TO_PARSE_RESPONSE:
            return stream << "FAILED_TO_PARSE_RESPONSE";
        case EdgeConfigRequest::CERTIFICATE_VALIDATION_ERROR:
            return stream << "CERTIFICATE_VALIDATION_ERROR";
        case EdgeConfigRequest::CONNECTION_FAILED:
            return stream << "CONNECTION_FAILED";
        case EdgeConfigRequest::SSL_CONNECTION_ERROR:
            return stream << "SSL_CONNECTION_ERROR";
        case EdgeConfigRequest::FAILED_TO_RESOLVE_HOST:
            return stream << "FAILED_TO_RESOLVE_HOST";
        case EdgeConfigRequest::AUTHENTICATION_FAILED:
            return stream << "AUTHENTICATION_FAILED";
        case EdgeConfigRequest::UNSUCCESSFUL_RESPONSE:
            return stream << "UNSUCCESSFUL_RESPONSE";
        case EdgeConfigRequest::INTERNAL_ERROR:
            return stream << "INTERNAL_ERROR";
        case EdgeConfigRequest::FAILED_TO_REFRESH_COOKIE:
            return stream << "FAILED_TO_REFRESH_COOKIE";
        case EdgeConfigRequest::TOO_MANY_REQUESTS:
            return stream << "TOO_MANY_REQUESTS";
        case EdgeConfigRequest::UNKNOWN_ERROR:
            return stream << "UNKNOWN_ERROR";
    }
    return stream << static_cast<int>(result);
}

}  // namespace zeb::edge

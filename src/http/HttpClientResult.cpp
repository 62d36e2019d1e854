#include "http/HttpClientResult.h"

namespace zeb::http {

namespace {

const char* nameOf(HttpClientResult::Result result) {
    switch (result) {
        case HttpClientResult::SUCCESS:
            return "SUCCESS";
        case HttpClientResult::URL_NOT_SET_ERROR:
            return "URL_NOT_SET_ERROR";
        case HttpClientResult::HTTP_CONFIGURATION_ERROR:
            return "HTTP_CONFIGURATION_ERROR";
        case HttpClientResult::UNRESOLVED_HOST_ERROR:
            return "UNRESOLVED_HOST_ERROR";
        case HttpClientResult::HOST_UNREACHABLE_ERROR:
            return "HOST_UNREACHABLE_ERROR";
        case HttpClientResult::CONNECTION_TIMEOUT_ERROR:
            return "CONNECTION_TIMEOUT_ERROR";
        case HttpClientResult::CERTIFICATE_VALIDATION_ERROR:
            return "CERTIFICATE_VALIDATION_ERROR";
        case HttpClientResult::CLIENT_CERTIFICATE_ERROR:
            return "CLIENT_CERTIFICATE_ERROR";
        case HttpClientResult::REQUEST_CANCELLED:
            return "REQUEST_CANCELLED";
        case HttpClientResult::UNSUPPORTED_PROTOCOL_ERROR:
            return "UNSUPPORTED_PROTOCOL_ERROR";
        case HttpClientResult::COULDNT_RESOLVE_PROXY_ERROR:
            return "COULDNT_RESOLVE_PROXY_ERROR";
        case HttpClientResult::POLICY_NOT_ENFORCED_ERROR:
            return "POLICY_NOT_ENFORCED_ERROR";
        case HttpClientResult::POLICY_NOT_AVAILABLE_ERROR:
            return "POLICY_NOT_AVAILABLE_ERROR";
        case HttpClientResult::UNRESOLVED_PROXY_ERROR:
            return "UNRESOLVED_PROXY_ERROR";
        case HttpClientResult::REQUEST_LOST:
            return "REQUEST_LOST";
        case HttpClientResult::FILE_READ_ERROR:
            return "FILE_READ_ERROR";
        case HttpClientResult::EDGE_AUTHENTICATION_FAILED:
            return "EDGE_AUTHENTICATION_FAILED";
        case HttpClientResult::EDGE_DISABLED_BY_OVT_POLICY:
            return "EDGE_DISABLED_BY_OVT_POLICY";
        case HttpClientResult::SSL_CONNECTION_ERROR:
            return "SSL_CONNECTION_ERROR";
        case HttpClientResult::FILE_WRITE_ERROR:
            return "FILE_WRITE_ERROR";
        case HttpClientResult::URL_FORMAT_ERROR:
            return "URL_FORMAT_ERROR";
        case HttpClientResult::UNKNOWN_ERROR:
            return "UNKNOWN_ERROR";
        case HttpClientResult::READ_CALLBACK_ERROR:
        case HttpClientResult::TOO_MANY_REDIRECTS_ERROR:
            break;
    }
    return nullptr;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, HttpClientResult::Result result) {
    if (const char* name = nameOf(result)) {
        return stream << name;
    }
    return stream << static_cast<int>(result);
}

}  // namespace zeb::http

#include "http/HttpClientError.h"

namespace zeb::http {

std::ostream& operator<<(std::ostream& stream, HttpClientError::Error error) {
    switch (error) {
        case HttpClientError::SUCCESS:
            return stream << "SUCCESS";
        case HttpClientError::URL_NOT_SET_ERROR:
            return stream << "URL_NOT_SET_ERROR";
        case HttpClientError::INVALID_PARAMETER_ERROR:
            return stream << "INVALID_PARAMETER_ERROR";
        case HttpClientError::REQUEST_NOT_SET_ERROR:
            return stream << "REQUEST_NOT_SET_ERROR";
        case HttpClientError::UNABLE_TO_CANCEL_REQUEST_ERROR:
            return stream << "UNABLE_TO_CANCEL_REQUEST_ERROR";
        case HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR:
            return stream << "UNABLE_TO_PROCESS_REQUEST_ERROR";
        case HttpClientError::POLICY_NOT_ENFORCED_ERROR:
            return stream << "POLICY_NOT_ENFORCED_ERROR";
        case HttpClientError::POLICY_NOT_AVAILABLE_ERROR:
            return stream << "POLICY_NOT_AVAILABLE_ERROR";
        case HttpClientError::FILE_READ_ERROR:
            return stream << "FILE_READ_ERROR";
        case HttpClientError::UNRESOLVED_HOST_ERROR:
            return stream << "UNRESOLVED_HOST_ERROR";
        case HttpClientError::UNKNOWN_ERROR:
            return stream << "UNKNOWN_ERROR";
    }
    return stream << static_cast<int>(error);
}

}  // namespace zeb::http

#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::http {

/// Whether a request was accepted by an operation that answers later.
struct HttpClientError {
    enum Error {
        SUCCESS = 0,
        URL_NOT_SET_ERROR = 1,
        INVALID_PARAMETER_ERROR = 2,
        REQUEST_NOT_SET_ERROR = 3,
        UNABLE_TO_CANCEL_REQUEST_ERROR = 4,
        UNABLE_TO_PROCESS_REQUEST_ERROR = 5,
        POLICY_NOT_ENFORCED_ERROR = 6,
        POLICY_NOT_AVAILABLE_ERROR = 7,
        FILE_READ_ERROR = 8,
        UNRESOLVED_HOST_ERROR = 9,
        UNKNOWN_ERROR = 10,
    };
};

/// Prints the enumerator's name; any other value prints as its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, HttpClientError::Error error);

}  // namespace zeb::http

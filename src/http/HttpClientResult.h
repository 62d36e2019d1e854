#pragma once

#include "core/Export.h"

#include <ostream>

namespace zeb::http {

/// How a transfer ended.
struct HttpClientResult {
    enum Result {
        SUCCESS = 0,  ///< an answer came; whatever its status, 4xx and 5xx too
        URL_NOT_SET_ERROR = 1,
        HTTP_CONFIGURATION_ERROR = 2,
        UNRESOLVED_HOST_ERROR = 3,
        HOST_UNREACHABLE_ERROR = 4,
        CONNECTION_TIMEOUT_ERROR = 5,  ///< connecting or the transfer as a whole took too long
        CERTIFICATE_VALIDATION_ERROR = 6,
        CLIENT_CERTIFICATE_ERROR = 7,
        REQUEST_CANCELLED = 8,
        UNSUPPORTED_PROTOCOL_ERROR = 9,
        COULDNT_RESOLVE_PROXY_ERROR = 10,  ///< nothing produces it: see UNRESOLVED_PROXY_ERROR
        READ_CALLBACK_ERROR = 11,
        POLICY_NOT_ENFORCED_ERROR = 12,
        POLICY_NOT_AVAILABLE_ERROR = 13,
        UNRESOLVED_PROXY_ERROR = 14,
        REQUEST_LOST = 15,  ///< the task was dropped before it ran
        FILE_READ_ERROR = 16,
        EDGE_AUTHENTICATION_FAILED = 17,
        EDGE_DISABLED_BY_OVT_POLICY = 18,
        SSL_CONNECTION_ERROR = 19,
        FILE_WRITE_ERROR = 20,
        URL_FORMAT_ERROR = 21,
        TOO_MANY_REDIRECTS_ERROR = 22,
        UNKNOWN_ERROR = 23,
    };
};

/// Prints the enumerator's name. 11 and 22 have no text and print as their number, as does any other value:
/// hosts compare the printed form.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, HttpClientResult::Result result);

}  // namespace zeb::http

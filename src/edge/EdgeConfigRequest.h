#pragma once

#include "core/Export.h"

#include <ostream>
#include <string>

namespace zeb::edge {

class EdgeConfig;
struct EdgeConfigParams;

/// One attempt to get the edge configuration from one edge server.
class ZEBNETUTILS_EXPORT EdgeConfigRequest {
public:
    enum Result {
        SUCCESS = 0,
        ILLEGAL_ARGUMENT = 1,
        FAILED_TO_PARSE_RESPONSE = 2,
        CERTIFICATE_VALIDATION_ERROR = 3,
        CONNECTION_FAILED = 4,
        SSL_CONNECTION_ERROR = 5,
        FAILED_TO_RESOLVE_HOST = 6,
        AUTHENTICATION_FAILED = 7,
        UNSUCCESSFUL_RESPONSE = 8,
        INTERNAL_ERROR = 9,
        FAILED_TO_REFRESH_COOKIE = 10,
        TOO_MANY_REQUESTS = 11,
        UNKNOWN_ERROR = 12,
    };

    virtual Result execute(const EdgeConfigParams& params, EdgeConfig& config, std::string& responseBody) = 0;
    virtual ~EdgeConfigRequest();
};

/// Prints the enumerator's name; any other value prints as its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, EdgeConfigRequest::Result result);

}  // namespace zeb::edge

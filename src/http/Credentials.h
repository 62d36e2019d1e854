#pragma once

#include "core/SecureString.h"

#include <string>

namespace zeb::http {

/// Who asks. Which of the three are used depends on HttpRequestOptions::authType.
struct Credentials {
    std::string username;
    SecureString password;
    SecureString token;  ///< OAuth bearer token (RFC 6750), without the word "Bearer"
};

}  // namespace zeb::http

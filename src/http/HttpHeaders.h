#pragma once

#include <string>
#include <utility>
#include <vector>

namespace zeb::http {

/// One header field: name and value.
using HttpHeader = std::pair<std::string, std::string>;

/// Header fields in their order on the wire.
using HttpHeaders = std::vector<HttpHeader>;

}  // namespace zeb::http

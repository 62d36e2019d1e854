#pragma once

#include "http/HttpClientResult.h"

#include <string>

namespace zeb::http {

/// A URL that failed before the request went on to the next one.
struct FailedUrlInfo {
    std::string url;
    HttpClientResult::Result result;
};

}  // namespace zeb::http

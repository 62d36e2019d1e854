#pragma once

#include "http/HttpClientResult.h"

namespace zeb::http {

/// The mailbox between a transfer and the thread that waits for it.
struct HttpRequestResult {
    HttpClientResult::Result result = HttpClientResult::SUCCESS;
    /// True when the path that stored the result has already cleaned up.
    bool finished = false;
};

}  // namespace zeb::http

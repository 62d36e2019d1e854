#pragma once

namespace zeb::http {

/// What a transfer does with a file.
struct HTTPFileOperation {
    enum Method {
        DOWNLOAD = 0,
        UPLOAD = 1,
        NONE = 2,
    };
};

}  // namespace zeb::http

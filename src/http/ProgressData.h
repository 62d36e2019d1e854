#pragma once

namespace zeb::http {

/// How far a transfer has come, in bytes. A total of 0 means that it isn't known.
struct ProgressData {
    double total = 0;
    double transferred = 0;
};

}  // namespace zeb::http

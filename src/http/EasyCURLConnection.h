#pragma once

#include "core/Export.h"

#include <array>
#include <utility>

namespace zeb::http {

/// Owner of one curl easy handle and of the buffer that libcurl writes its error texts into. One transfer at
/// a time, on whichever thread holds it.
class ZEBNETUTILS_EXPORT EasyCURLConnection {
public:
    EasyCURLConnection();
    ~EasyCURLConnection();

    EasyCURLConnection(const EasyCURLConnection&) = delete;
    EasyCURLConnection& operator=(const EasyCURLConnection&) = delete;

    /// The `CURL*`; null when libcurl could not make one.
    void* getHandle() const { return handle_; }
    /// For CURLOPT_ERRORBUFFER: all zero at first.
    char* getErrorBuffer() { return errorBuffer_.data(); }

    /// Nobody has touched the handle, and nobody will but the one request that it is for.
    void setPristine() { pristine_ = true; }
    /// For the configuration of a request: true, once, when there is nothing in the handle to reset.
    bool takePristine() { return std::exchange(pristine_, false); }

private:
    void* const handle_;
    bool pristine_ = false;
    std::array<char, 256> errorBuffer_{};  // CURL_ERROR_SIZE
};

}  // namespace zeb::http

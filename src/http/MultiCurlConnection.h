#pragma once

#include "core/Export.h"
#include "core/Mutex.h"

namespace zeb::http {

/// Owner of one curl multi handle. Every call on the handle is made under getMutex().
class ZEBNETUTILS_EXPORT MultiCurlConnection {
public:
    /// Pipelining is asked for; libcurl since 7.62 accepts that and ignores it.
    MultiCurlConnection();
    ~MultiCurlConnection();

    MultiCurlConnection(const MultiCurlConnection&) = delete;
    MultiCurlConnection& operator=(const MultiCurlConnection&) = delete;

    /// The `CURLM*`; null when libcurl could not make one.
    void* getHandle() const { return handle_; }
    Mutex& getMutex() { return mutex_; }

private:
    void* const handle_;
    Mutex mutex_;
};

}  // namespace zeb::http

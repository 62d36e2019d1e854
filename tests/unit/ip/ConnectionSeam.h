#pragma once

#include <optional>

/// Stands between the library and libcurl's functions for handles: the linker sends their calls here first
/// (--wrap). What a test doesn't ask for goes through unchanged. One object at a time.
namespace zeb::ip::test {

class ConnectionSeam {
public:
    ConnectionSeam();
    ~ConnectionSeam();
    ConnectionSeam(const ConnectionSeam&) = delete;
    ConnectionSeam& operator=(const ConnectionSeam&) = delete;

    bool noHandles = false;         ///< libcurl can make no handle
    std::optional<int> performing;  ///< a transfer ends with that CURLcode, and nothing has been done
    int handles = 0;                ///< asked for so far
};

}  // namespace zeb::ip::test

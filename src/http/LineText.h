#pragma once

#include <string_view>

namespace zeb::http {

/// True for a text that must not become part of a line on the wire: a CR or LF in it would end the line and
/// let the rest pass for a header or a request of its own (RFC 9110 5.5), a NUL would cut it short.
inline bool breaksLine(std::string_view text) {
    return text.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos;
}

}  // namespace zeb::http

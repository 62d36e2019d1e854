#pragma once

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>

namespace zeb::http {

/// True for a text that must not become part of a line on the wire: a CR or LF in it would end the line and
/// let the rest pass for a header or a request of its own (RFC 9110 5.5), a NUL would cut it short.
inline bool breaksLine(std::string_view text) {
    // A search for one of a set would be a call of the library's for each character.
    return std::any_of(text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n' || c == '\0'; });
}

/// The same for a text of which a part is percent-decoded later on: "%0D", "%0a" and "%00" count as well.
inline bool breaksLineOnceDecoded(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto holds = [&lower](const char* coded) { return lower.find(coded) != std::string::npos; };
    return breaksLine(text) || holds("%0d") || holds("%0a") || holds("%00");
}

}  // namespace zeb::http

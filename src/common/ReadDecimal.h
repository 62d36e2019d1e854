#pragma once

#include <charconv>
#include <string_view>
#include <system_error>

namespace zeb::common {

/// The number that a text begins with, as formatted extraction from a stream reads it in the "C" locale, but
/// without a stream: blanks in front are skipped, one "+" is allowed, the first character that is no digit
/// ends it. 0 if there is no number, and if it doesn't fit into Integer. Other than from a stream, a "-"
/// before an unsigned number is no number, where a stream would wrap it round.
template <typename Integer>
Integer readDecimal(std::string_view text) {
    const auto start = text.find_first_not_of(" \t\n\v\f\r");
    if (start == std::string_view::npos) {
        return 0;
    }
    text.remove_prefix(start);
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (!text.empty() && text.front() == '-') {
            return 0;
        }
    }
    Integer number{};
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() ? number : Integer{};
}

}  // namespace zeb::common

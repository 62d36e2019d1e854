#pragma once

#include <optional>
#include <string>

namespace zeb::dns {

/// A name as DNS takes it, apart from the dot at its end.
struct QueryName {
    std::string text;  ///< without that dot
    bool isAbsolute;   ///< it had that dot: no search list applies
};

/// Nothing for a text that no question could carry: empty, longer than 253 bytes, with a label that is empty
/// or longer than 63 bytes (RFC 1035), with a blank, a control character or a backslash in it.
std::optional<QueryName> readQueryName(const std::string& name);

}  // namespace zeb::dns

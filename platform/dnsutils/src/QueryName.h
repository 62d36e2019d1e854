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
/// or longer than 63 bytes (RFC 1035), or with an ASCII character that no host and no service has in its name
/// (a colon, a slash, a blank, a NUL ...).
std::optional<QueryName> readQueryName(const std::string& name);

/// True for "localhost" and every name below it, in whatever case (RFC 6761): they mean this machine, and
/// DNS is never asked for them.
bool isLocalhost(const QueryName& name);

}  // namespace zeb::dns

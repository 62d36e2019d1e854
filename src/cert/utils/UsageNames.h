#pragma once

#include <ostream>

namespace zeb::cert {

// How the usages of a key are printed, by rows that have a `usage` and a `name`, in ascending order.

/// "[" the names of the mask's bits, joined by ", " "]".
template <typename Rows>
void printUsages(std::ostream& stream, const Rows& rows, unsigned long mask) {
    stream << "[";
    const char* separator = "";
    for (const auto& row : rows) {
        if ((mask & static_cast<unsigned long>(row.usage)) != 0) {
            stream << separator << row.name;
            separator = ", ";
        }
    }
    stream << "]";
}

/// The name; for a usage without a row its number.
template <typename Rows, typename Usage>
std::ostream& printUsage(std::ostream& stream, const Rows& rows, Usage usage) {
    for (const auto& row : rows) {
        if (row.usage == usage) {
            return stream << row.name;
        }
    }
    return stream << static_cast<int>(usage);
}

}  // namespace zeb::cert

#pragma once

#include <sstream>
#include <string>

namespace zeb::test {

/// What the value's stream operator writes.
template <typename Value>
std::string printed(const Value& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

}  // namespace zeb::test

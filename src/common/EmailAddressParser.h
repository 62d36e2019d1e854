#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::common {

/// Splits an address at its last "@". No other test takes place, so "a@" has an empty domain, and a text
/// without an "@" is a user name alone; that one, and an empty text, log a warning. A plain value; never
/// throws unless memory runs out.
class ZEBNETUTILS_EXPORT EmailAddressParser {
public:
    explicit EmailAddressParser(const std::string& address);

    /// What follows the last "@"; empty without one.
    std::string getDomain() const { return domain_; }
    /// What stands before the last "@"; the whole text without one.
    std::string getUsername() const { return username_; }

private:
    std::string domain_;
    std::string username_;
};

}  // namespace zeb::common

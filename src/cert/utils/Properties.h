#pragma once

#include "core/Export.h"

#include <map>
#include <string>

namespace zeb::cert {

/// Settings of a verifier, each a text by its key. Not for several threads at once. So far nothing in the
/// library reads one.
class ZEBNETUTILS_EXPORT Properties {
public:
    enum Property : int {
        REVOCATION_CHECK_ENABLED = 0,
        MAXIMUM_CHAIN_LENGTH = 1,
        MINIMUM_KEY_BITS = 2,
    };

    // Each answers with the default when the property isn't set or doesn't read as what is asked for.
    std::string getValue(Property property, const std::string& defaultValue) const;
    /// The number that the text begins with.
    int getIntValue(Property property, int defaultValue) const;
    long getLongValue(Property property, long defaultValue) const;
    /// "true" or "1", "false" or "0", in whatever case.
    bool getBoolValue(Property property, bool defaultValue) const;

    // The same; null properties have nothing set.
    static std::string getValue(const Properties* properties, Property property,
                                const std::string& defaultValue);
    static int getIntValue(const Properties* properties, Property property, int defaultValue);
    static long getLongValue(const Properties* properties, Property property, long defaultValue);
    static bool getBoolValue(const Properties* properties, Property property, bool defaultValue);

    /// In place of the value of before, if there is one.
    void setValue(Property property, const std::string& value);
    void clear();

private:
    std::map<Property, std::string> values_;
};

}  // namespace zeb::cert

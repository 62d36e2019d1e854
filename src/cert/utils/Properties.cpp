#include "cert/utils/Properties.h"

#include "core/StringExtension.h"

#include <sstream>

namespace zeb::cert {

namespace {

template <typename Number>
Number readNumber(const std::string& text, Number defaultValue) {
    std::stringstream stream(text);
    Number number{};
    return stream >> number ? number : defaultValue;
}

}  // namespace

std::string Properties::getValue(Property property, const std::string& defaultValue) const {
    const auto found = values_.find(property);
    return found != values_.end() ? found->second : defaultValue;
}

int Properties::getIntValue(Property property, int defaultValue) const {
    return readNumber(getValue(property, ""), defaultValue);
}

long Properties::getLongValue(Property property, long defaultValue) const {
    return readNumber(getValue(property, ""), defaultValue);
}

bool Properties::getBoolValue(Property property, bool defaultValue) const {
    const std::string text = StringExtension::stringToUpper(getValue(property, ""));
    if (text == "TRUE" || text == "1") {
        return true;
    }
    return text == "FALSE" || text == "0" ? false : defaultValue;
}

std::string Properties::getValue(const Properties* properties, Property property,
                                 const std::string& defaultValue) {
    return properties != nullptr ? properties->getValue(property, defaultValue) : defaultValue;
}

int Properties::getIntValue(const Properties* properties, Property property, int defaultValue) {
    return properties != nullptr ? properties->getIntValue(property, defaultValue) : defaultValue;
}

long Properties::getLongValue(const Properties* properties, Property property, long defaultValue) {
    return properties != nullptr ? properties->getLongValue(property, defaultValue) : defaultValue;
}

bool Properties::getBoolValue(const Properties* properties, Property property, bool defaultValue) {
    return properties != nullptr ? properties->getBoolValue(property, defaultValue) : defaultValue;
}

void Properties::setValue(Property property, const std::string& value) {
    values_[property] = value;
}

void Properties::clear() {
    values_.clear();
}

}  // namespace zeb::cert

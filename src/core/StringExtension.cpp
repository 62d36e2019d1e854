#include "core/StringExtension.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace zeb {

namespace {

template <typename Convert>
std::string convertBytes(std::string text, Convert convert) {
    // As unsigned: the C functions are undefined for negative characters.
    std::transform(text.begin(), text.end(), text.begin(),
                   [convert](unsigned char byte) { return static_cast<char>(convert(byte)); });
    return text;
}

}  // namespace

std::string StringExtension::stringToLower(const std::string& text) {
    return convertBytes(text, [](int byte) { return std::tolower(byte); });
}

std::string StringExtension::stringToUpper(std::string text) {
    return convertBytes(std::move(text), [](int byte) { return std::toupper(byte); });
}

std::vector<std::string> StringExtension::split(const std::string& text, const std::string& separator) {
    if (separator.empty()) {
        return {text};
    }
    std::vector<std::string> pieces;
    std::size_t from = 0;
    for (std::size_t at = text.find(separator); at != std::string::npos; at = text.find(separator, from)) {
        pieces.push_back(text.substr(from, at - from));
        from = at + separator.size();
    }
    pieces.push_back(text.substr(from));
    return pieces;
}

std::vector<std::string> StringExtension::splitAndSortByLength(const std::string& text,
                                                               const std::string& separator,
                                                               bool longestFirst) {
    std::vector<std::string> pieces = split(text, separator);
    std::stable_sort(pieces.begin(), pieces.end(),
                     [longestFirst](const std::string& left, const std::string& right) {
                         return longestFirst ? left.size() > right.size() : left.size() < right.size();
                     });
    return pieces;
}

bool StringExtension::hasPathExtension(const std::string& path, const std::string& extension) {
    const std::size_t dot = path.rfind('.');
    return dot != std::string::npos && path.compare(dot + 1, std::string::npos, extension) == 0;
}

bool StringExtension::hasPrefix(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace zeb

#include "QueryName.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <strings.h>

namespace zeb::dns {
namespace {

constexpr std::size_t MAX_NAME = 253;
constexpr std::size_t MAX_LABEL = 63;

/// Bytes beyond ASCII are fine: some servers' names are in UTF-8.
bool canStandInName(char character) {
    const auto isBetween = [character](char first, char last) {
        return character >= first && character <= last;
    };
    constexpr unsigned char LAST_OF_ASCII = 0x7f;
    return isBetween('a', 'z') || isBetween('A', 'Z') || isBetween('0', '9') || character == '-' ||
           character == '_' || character == '.' || static_cast<unsigned char>(character) > LAST_OF_ASCII;
}

bool hasGoodLabels(const std::string& name) {
    for (std::size_t begin = 0; begin <= name.size();) {
        const std::size_t end = std::min(name.find('.', begin), name.size());
        const std::size_t length = end - begin;
        if (length == 0 || length > MAX_LABEL) {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

}  // namespace

std::optional<QueryName> readQueryName(const std::string& name) {
    const bool isAbsolute = !name.empty() && name.back() == '.';
    const std::size_t length = name.size() - (isAbsolute ? 1 : 0);
    if (length == 0 || length > MAX_NAME) {
        return std::nullopt;
    }
    QueryName result{name.substr(0, length), isAbsolute};
    if (!std::all_of(result.text.begin(), result.text.end(), canStandInName) || !hasGoodLabels(result.text)) {
        return std::nullopt;
    }
    return result;
}

bool isLocalhost(const QueryName& name) {
    constexpr std::string_view LOCALHOST = "localhost";
    const std::size_t length = name.text.size();
    if (length < LOCALHOST.size()) {
        return false;
    }
    const std::size_t begin = length - LOCALHOST.size();
    return (begin == 0 || name.text[begin - 1] == '.') &&
           strcasecmp(name.text.c_str() + begin, LOCALHOST.data()) == 0;
}

}  // namespace zeb::dns

#include "QueryName.h"

#include <algorithm>
#include <cstddef>

namespace zeb::dns {
namespace {

constexpr std::size_t MAX_NAME = 253;
constexpr std::size_t MAX_LABEL = 63;

/// c-ares would take a backslash for the beginning of an escape. Bytes beyond ASCII are fine: some servers'
/// names are in UTF-8.
bool canStandInName(char character) {
    const auto byte = static_cast<unsigned char>(character);
    constexpr unsigned char DELETE = 0x7f;
    return byte > ' ' && byte != DELETE && character != '\\';
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

}  // namespace zeb::dns

#include "qrmcoreutils/QRMCoreUtils.h"

#include <algorithm>
#include <cstdlib>

namespace QRMCoreUtils {

namespace {

char upper(char character) {
    return character >= 'a' && character <= 'z' ? static_cast<char>(character - 'a' + 'A') : character;
}

}  // namespace

bool caseInsensitiveStringEquals(const std::string& left, const std::string& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return upper(a) == upper(b); });
}

std::string toUppercase(const std::string& text) {
    std::string result = text;
    std::transform(result.begin(), result.end(), result.begin(), upper);
    return result;
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

long toLong(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10);
}

}  // namespace QRMCoreUtils

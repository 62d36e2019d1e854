#include "support/Der.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace zeb::test::der {

namespace {

constexpr unsigned char CONTEXT = 0x80;
constexpr unsigned char CONSTRUCTED = 0x20;
constexpr std::size_t LONGEST_SHORT_FORM = 0x7F;

std::string length(std::size_t count) {
    if (count <= LONGEST_SHORT_FORM) {
        return {static_cast<char>(count)};
    }
    std::string bytes;
    for (; count != 0; count >>= 8U) {
        bytes.insert(bytes.begin(), static_cast<char>(count & 0xFFU));
    }
    return static_cast<char>(0x80U | bytes.size()) + bytes;
}

std::string base128(unsigned long number) {
    std::string bytes(1, static_cast<char>(number & 0x7FU));
    while ((number >>= 7U) != 0) {
        bytes.insert(bytes.begin(), static_cast<char>(0x80U | (number & 0x7FU)));
    }
    return bytes;
}

}  // namespace

std::string value(unsigned char tag, const std::string& bytes) {
    return static_cast<char>(tag) + length(bytes.size()) + bytes;
}

std::string sequence(const std::vector<std::string>& values) {
    std::string bytes;
    for (const std::string& each : values) {
        bytes += each;
    }
    return value(SEQUENCE, bytes);
}

std::string objectIdentifier(const std::string& dotted) {
    std::istringstream stream(dotted);
    unsigned long first = 0;
    unsigned long arc = 0;
    char dot = '.';
    stream >> first >> dot >> arc;
    std::string bytes = base128(first * 40 + arc);
    while (stream >> dot >> arc) {
        bytes += base128(arc);
    }
    return value(OBJECT_IDENTIFIER, bytes);
}

std::string widened(const std::string& text, int bytesPerCharacter) {
    std::string bytes;
    for (const char character : text) {
        bytes.append(static_cast<std::size_t>(bytesPerCharacter) - 1, '\0');
        bytes += character;
    }
    return bytes;
}

std::string otherName(const std::string& typeId, const std::string& value) {
    return der::value(CONTEXT | CONSTRUCTED | 0U,
                      objectIdentifier(typeId) + der::value(CONTEXT | CONSTRUCTED | 0U, value));
}

std::string rfc822Name(const std::string& text) {
    return value(CONTEXT | 1U, text);
}

std::string dnsName(const std::string& text) {
    return value(CONTEXT | 2U, text);
}

std::string uri(const std::string& text) {
    return value(CONTEXT | 6U, text);
}

std::string ipAddress(const std::string& bytes) {
    return value(CONTEXT | 7U, bytes);
}

std::string keyUsage(const std::string& bytes) {
    unsigned unusedBits = 0;
    if (!bytes.empty()) {
        const auto last = static_cast<unsigned char>(bytes.back());
        while (unusedBits < 7 && ((last >> unusedBits) & 1U) == 0) {
            ++unusedBits;
        }
    }
    return value(BIT_STRING, static_cast<char>(unusedBits) + bytes);
}

std::string extendedKeyUsage(const std::vector<std::string>& purposes) {
    std::vector<std::string> values(purposes.size());
    std::transform(purposes.begin(), purposes.end(), values.begin(), objectIdentifier);
    return sequence(values);
}

}  // namespace zeb::test::der

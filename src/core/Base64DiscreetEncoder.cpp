#include "core/Base64DiscreetEncoder.h"

#include "core/Base64Encoding.h"
#include "core/DecodingTable.h"
#include "core/SecureStringUtils.h"

#include <algorithm>
#include <stdexcept>

namespace zeb {

namespace {

constexpr unsigned long OCTETS_PER_GROUP = 3;
constexpr unsigned long CHARACTERS_PER_GROUP = 4;
constexpr unsigned long CHARACTERS_PER_LINE = 72;
constexpr unsigned long LINE_BREAK_LENGTH = 2;
constexpr char PADDING = '=';

bool isLineBreakCharacter(char character) {
    return character == '\r' || character == '\n';
}

// A small local array of secret bytes, wiped however the function ends.
template <typename T, unsigned long SIZE>
struct WipedArray {
    WipedArray() = default;
    ~WipedArray() { SecureStringUtils::ZEBZeroMemory(static_cast<const void*>(items), sizeof(items)); }
    WipedArray(const WipedArray&) = delete;
    WipedArray& operator=(const WipedArray&) = delete;

    T items[SIZE] = {};
};

using Octets = WipedArray<unsigned char, OCTETS_PER_GROUP>;
using Characters = WipedArray<char, CHARACTERS_PER_GROUP>;

// The characters of `count` octets, padding not among them. Returns how many there are.
unsigned long encodeGroup(const Octets& octets, unsigned long count, Characters& characters) {
    const char* const table = Base64Encoding::getInstance().getEncodingTable();
    const unsigned char* const in = octets.items;
    characters.items[0] = table[in[0] >> 2U];
    characters.items[1] = table[((in[0] & 0x03U) << 4U) | (in[1] >> 4U)];
    characters.items[2] = table[((in[1] & 0x0FU) << 2U) | (in[2] >> 6U)];
    characters.items[3] = table[in[2] & 0x3FU];
    return count + 1;
}

// The octets of a full group of characters. Returns how many there are, or 0 for a character outside the
// alphabet.
unsigned long decodeGroup(const Characters& characters, Octets& octets) {
    const unsigned char* const table = Base64Encoding::getInstance().getDecodingTable();
    WipedArray<unsigned char, CHARACTERS_PER_GROUP> values;
    for (unsigned long i = 0; i < CHARACTERS_PER_GROUP; ++i) {
        values.items[i] = table[static_cast<unsigned char>(characters.items[i])];
        if (values.items[i] == internal::NOT_IN_ALPHABET) {
            return 0;
        }
    }
    octets.items[0] = static_cast<unsigned char>((values.items[0] << 2U) | (values.items[1] >> 4U));
    octets.items[1] = static_cast<unsigned char>((values.items[1] << 4U) | (values.items[2] >> 2U));
    octets.items[2] = static_cast<unsigned char>((values.items[2] << 6U) | values.items[3]);
    return OCTETS_PER_GROUP - (characters.items[3] == PADDING ? 1 : 0) -
           (characters.items[2] == PADDING ? 1 : 0);
}

}  // namespace

unsigned long Base64DiscreetEncoder::computeEncodedMessageLength(unsigned long length,
                                                                 bool lineBreaks) const {
    if (length == 0) {
        return 0;
    }
    const unsigned long groups = length / OCTETS_PER_GROUP + (length % OCTETS_PER_GROUP == 0 ? 0 : 1);
    const unsigned long characters = CHARACTERS_PER_GROUP * groups;
    const unsigned long breaks = lineBreaks ? (characters - 1) / CHARACTERS_PER_LINE : 0;
    return characters + LINE_BREAK_LENGTH * breaks;
}

unsigned long Base64DiscreetEncoder::computeDecodedMessageLength(const char* text,
                                                                 unsigned long length) const {
    if (text == nullptr || length == 0) {
        return 0;
    }
    const auto breaks = static_cast<unsigned long>(std::count_if(text, text + length, isLineBreakCharacter));
    const unsigned long count = length - breaks;
    if (count % CHARACTERS_PER_GROUP != 0) {
        return 0;
    }
    unsigned long octets = count / CHARACTERS_PER_GROUP * OCTETS_PER_GROUP;
    if (length >= CHARACTERS_PER_GROUP) {
        octets -= text[length - 1] == PADDING ? 1 : 0;
        octets -= text[length - 2] == PADDING ? 1 : 0;
    }
    return octets;
}

void Base64DiscreetEncoder::encode(char* out, const unsigned char* data, unsigned long length,
                                   bool lineBreaks) const {
    if (out == nullptr || data == nullptr || length == 0) {
        return;
    }
    Octets octets;
    Characters characters;
    unsigned long written = 0;
    const auto writeGroup = [&](unsigned long octetCount) {
        if (lineBreaks && written > 0 && written % CHARACTERS_PER_LINE == 0) {
            *out++ = '\r';
            *out++ = '\n';
        }
        std::fill(std::copy(data, data + octetCount, octets.items), octets.items + OCTETS_PER_GROUP, '\0');
        const unsigned long characterCount = encodeGroup(octets, octetCount, characters);
        out = std::copy(characters.items, characters.items + characterCount, out);
        data += octetCount;
        written += CHARACTERS_PER_GROUP;
        return characterCount;
    };

    for (; length >= OCTETS_PER_GROUP; length -= OCTETS_PER_GROUP) {
        if (writeGroup(OCTETS_PER_GROUP) != CHARACTERS_PER_GROUP) {
            throw std::logic_error("Encoding to Base64, three-octet group must yield four characters");
        }
    }
    if (length == 0) {
        return;
    }
    const unsigned long characterCount = writeGroup(length);
    if (characterCount != 2 && characterCount != 3) {
        throw std::logic_error("Encoding Base64, expected 2 or 3 characters from final encoded group");
    }
    std::fill(out, out + (CHARACTERS_PER_GROUP - characterCount), PADDING);
}

int Base64DiscreetEncoder::decode(unsigned char* out, const char* text, unsigned long length) const {
    constexpr int FAILURE = -1;
    if (out == nullptr || text == nullptr || length == 0) {
        return FAILURE;
    }
    const auto breaks = static_cast<unsigned long>(std::count_if(text, text + length, isLineBreakCharacter));
    if ((length - breaks) % CHARACTERS_PER_GROUP != 0) {
        return FAILURE;
    }
    Characters characters;
    Octets octets;
    unsigned long filled = 0;
    for (const char* at = text; at != text + length; ++at) {
        if (isLineBreakCharacter(*at)) {
            continue;
        }
        characters.items[filled++] = *at;
        if (filled < CHARACTERS_PER_GROUP) {
            continue;
        }
        const unsigned long octetCount = decodeGroup(characters, octets);
        if (octetCount == 0) {
            return FAILURE;
        }
        out = std::copy(octets.items, octets.items + octetCount, out);
        filled = 0;
    }
    return 0;
}

}  // namespace zeb

#pragma once

#include <array>

namespace zeb::internal {

using DecodingTable = std::array<unsigned char, 256>;

constexpr unsigned char NOT_IN_ALPHABET = 255;

/// The inverse of an alphabet of 64 characters, as Encoding::getDecodingTable() gives it.
constexpr DecodingTable invertAlphabet(const char* alphabet) {
    DecodingTable table{};
    for (unsigned char& value : table) {
        value = NOT_IN_ALPHABET;
    }
    for (unsigned char value = 0; value < 64; ++value) {
        table[static_cast<unsigned char>(alphabet[value])] = value;
    }
    table['='] = 0;
    return table;
}

}  // namespace zeb::internal

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zeb {

class Encoding;

/// The speed of the Base64 family: converts whole groups (three bytes, four characters) by tables wider than
/// the alphabet. Knows nothing of padding and line breaks. Without state after construction; any thread.
class Base64GroupCodec {
public:
    explicit Base64GroupCodec(const Encoding& encoding);

    /// 3 * groups bytes to 4 * groups characters.
    void encodeGroups(const unsigned char* in, std::size_t groups, char* out) const;

    /// 4 * groups characters to 3 * groups bytes. False as soon as a character is not one of the 64 of the
    /// alphabet, padding included; `out` is then partly written.
    bool decodeGroups(const char* in, std::size_t groups, unsigned char* out) const;

private:
    using Pair = std::array<char, 2>;
    using Shifted = std::array<std::uint32_t, 256>;

    std::array<Pair, 4096> pairs_;       // the two characters of 12 bits
    std::array<Shifted, 4> characters_;  // a character's six bits, by its place in the group
};

}  // namespace zeb

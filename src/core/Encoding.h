#pragma once

#include <string_view>

namespace zeb {

/// One member of the Base64 family: its alphabet, and how it writes padding. Implementations are without
/// state.
class Encoding {
public:
    virtual ~Encoding() = default;

    /// The 64 characters of the alphabet, by value.
    virtual const char* getEncodingTable() const = 0;

    /// 256 values, by character: the inverse of the alphabet, 0 for '=' (padding decodes as zero bits) and
    /// 255 for everything else.
    virtual const unsigned char* getDecodingTable() const = 0;

    /// One padding character as it is written.
    virtual std::string_view getEncodedPaddingChars() const = 0;

    /// One padding character as the decoding table knows it.
    virtual std::string_view getDecodedPaddingChars() const = 0;

    /// Whether the two differ.
    virtual bool isPaddingCharEncoded() const = 0;
};

}  // namespace zeb

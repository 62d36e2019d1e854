#pragma once

#include "core/Export.h"

namespace zeb {

/// Base64 for secrets: standard alphabet, '=' padding, straight into the caller's buffer. Secret text must
/// not pass through objects that the library cannot wipe: there is no std::string and no stream in here, and
/// what little is held locally is overwritten before each return.
///
/// Without state; any thread.
class ZEBNETUTILS_EXPORT Base64DiscreetEncoder {
public:
    /// Characters that encode() writes for `length` bytes; there is no NUL behind them.
    unsigned long computeEncodedMessageLength(unsigned long length, bool lineBreaks) const;

    /// Room, in bytes, for what decode() writes. 0 if the text cannot be decoded for its length. Only padding
    /// in the last two places of the text counts: what stands before them, or before a line break, leaves the
    /// answer that much above what decode() writes.
    unsigned long computeDecodedMessageLength(const char* text, unsigned long length) const;

    /// Writes computeEncodedMessageLength() characters. With lineBreaks "\r\n" stands between lines of 72
    /// characters, never at the end. Null, or a length of 0: nothing is done. Throws std::logic_error if a
    /// group yields the wrong number of characters, which no input brings about.
    void encode(char* out, const unsigned char* data, unsigned long length, bool lineBreaks) const;

    /// Writes at most computeDecodedMessageLength() bytes and returns 0. CR and LF are skipped wherever they
    /// stand. -1 for null or empty arguments, an incomplete group, or a character outside the alphabet; `out`
    /// may then be partly written.
    int decode(unsigned char* out, const char* text, unsigned long length) const;
};

}  // namespace zeb

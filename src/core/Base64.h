#pragma once

#include "core/Export.h"
#include "core/SecureString.h"

#include <string>
#include <vector>

/// Base64 (RFC 4648 section 4) and Base64url (section 5). Any thread.
namespace zeb {

/// Encode `length` bytes; null or a length of 0 gives "". With lineBreaks, "\r\n" stands behind every 72nd
/// character, at the end of the text too; a last group of one or two bytes isn't counted. Padding is "=" in
/// Base64 and "%3D" in Base64url, which may thus stand in a URL as it is.
ZEBNETUTILS_EXPORT std::string base64_encode(const unsigned char* data, unsigned int length, bool lineBreaks);
ZEBNETUTILS_EXPORT std::string base64_encode_without_padding(const unsigned char* data, unsigned int length,
                                                             bool lineBreaks);
ZEBNETUTILS_EXPORT std::string base64url_encode(const unsigned char* data, unsigned int length,
                                                bool lineBreaks);
ZEBNETUTILS_EXPORT std::string base64url_encode_without_padding(const unsigned char* data,
                                                                unsigned int length, bool lineBreaks);

/// Decode and append to `out`. 0: success. -1: the text is empty. -2: bad form or character. -3: incomplete
/// group; as a wrong number of characters is bad form already, no text is known to lead there. A character
/// outside the alphabet empties `out` of all it held; the other failures leave it as it was.
///
/// Surplus padding is accepted; nothing may follow padding, a line break neither; lines must be as long as
/// the first one. The forms "without padding" supply the padding that the text lacks.
ZEBNETUTILS_EXPORT int base64_decode(const std::string& text, std::vector<unsigned char>& out);
ZEBNETUTILS_EXPORT int base64_decode_without_padding(const std::string& text,
                                                     std::vector<unsigned char>& out);
ZEBNETUTILS_EXPORT int base64url_decode(const std::string& text, std::vector<unsigned char>& out);
ZEBNETUTILS_EXPORT int base64url_decode_without_padding(const std::string& text,
                                                        std::vector<unsigned char>& out);

/// base64_encode() for secrets, by Base64DiscreetEncoder: all memory that held the text in clear is wiped,
/// and there is never a line break at the end. Null or a length of 0 gives an empty string.
ZEBNETUTILS_EXPORT SecureString base64_discreet_encode(const unsigned char* data, unsigned int length,
                                                       bool lineBreaks);

/// The inverse. 0: success, and `out` is assigned the bytes. -1: nothing to decode, or bad form; `out` stays
/// as it was. Line breaks may stand anywhere; each padding character but those at the very end, and thus also
/// padding with a line break behind it, makes `out` one NUL too long.
ZEBNETUTILS_EXPORT int base64_discreet_decode(const SecureString& in, SecureString& out);

}  // namespace zeb

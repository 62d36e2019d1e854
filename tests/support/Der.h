#pragma once

#include <string>
#include <vector>

/// Writes DER (X.690) by hand: what no decent encoder would, too. Each function returns the bytes of one
/// complete value.
namespace zeb::test::der {

enum Tag : unsigned char {
    BOOLEAN = 0x01,
    INTEGER = 0x02,
    BIT_STRING = 0x03,
    OCTET_STRING = 0x04,
    NULL_VALUE = 0x05,
    OBJECT_IDENTIFIER = 0x06,
    UTF8_STRING = 0x0C,
    NUMERIC_STRING = 0x12,
    PRINTABLE_STRING = 0x13,
    T61_STRING = 0x14,
    IA5_STRING = 0x16,
    VISIBLE_STRING = 0x1A,
    GENERAL_STRING = 0x1B,
    UNIVERSAL_STRING = 0x1C,
    BMP_STRING = 0x1E,
    SEQUENCE = 0x30,
    SET = 0x31,
};

/// Any tag over any bytes; the length is right and as short as can be.
std::string value(unsigned char tag, const std::string& bytes);
std::string sequence(const std::vector<std::string>& values);
/// "1.3.6.1.5.5.7.8.7" as an OBJECT IDENTIFIER.
std::string objectIdentifier(const std::string& dotted);
/// The bytes of ASCII text in characters of two bytes (BMPString) or four (UniversalString).
std::string widened(const std::string& text, int bytesPerCharacter);

// The kinds of GeneralName (RFC 5280, 4.2.1.6), for a subject alternative name:
// sequence({dnsName("a.test")}).

/// `value` is a complete value of whatever type.
std::string otherName(const std::string& typeId, const std::string& value);
std::string rfc822Name(const std::string& text);
std::string dnsName(const std::string& text);
std::string uri(const std::string& text);
std::string ipAddress(const std::string& bytes);

/// A key usage extension of these bytes of named bits, the first bit the highest of the first byte.
std::string keyUsage(const std::string& bytes);
/// An extended key usage extension of these purposes, dotted.
std::string extendedKeyUsage(const std::vector<std::string>& purposes);

}  // namespace zeb::test::der

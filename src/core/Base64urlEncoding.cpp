#include "core/Base64urlEncoding.h"

#include "core/DecodingTable.h"

namespace zeb {

namespace {

constexpr char ENCODE_TABLE[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
constexpr internal::DecodingTable DECODE_TABLE = internal::invertAlphabet(ENCODE_TABLE);

}  // namespace

const Base64urlEncoding& Base64urlEncoding::getInstance() {
    static const Base64urlEncoding instance;
    return instance;
}

const char* Base64urlEncoding::getEncodingTable() const {
    return ENCODE_TABLE;
}

const unsigned char* Base64urlEncoding::getDecodingTable() const {
    return DECODE_TABLE.data();
}

std::string_view Base64urlEncoding::getEncodedPaddingChars() const {
    return "%3D";
}

std::string_view Base64urlEncoding::getDecodedPaddingChars() const {
    return "=";
}

bool Base64urlEncoding::isPaddingCharEncoded() const {
    return true;
}

}  // namespace zeb

#include "core/Base64Encoding.h"

#include "core/DecodingTable.h"

namespace zeb {

namespace {

constexpr char ENCODE_TABLE[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr internal::DecodingTable DECODE_TABLE = internal::invertAlphabet(ENCODE_TABLE);

}  // namespace

const Base64Encoding& Base64Encoding::getInstance() {
    static const Base64Encoding instance;
    return instance;
}

const char* Base64Encoding::getEncodingTable() const {
    return ENCODE_TABLE;
}

const unsigned char* Base64Encoding::getDecodingTable() const {
    return DECODE_TABLE.data();
}

std::string_view Base64Encoding::getEncodedPaddingChars() const {
    return "=";
}

std::string_view Base64Encoding::getDecodedPaddingChars() const {
    return "=";
}

bool Base64Encoding::isPaddingCharEncoded() const {
    return false;
}

}  // namespace zeb

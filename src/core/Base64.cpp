#include "core/Base64.h"

#include "core/Base64DiscreetEncoder.h"
#include "core/Base64Encoding.h"
#include "core/Base64FamilyEncoder.h"
#include "core/Base64urlEncoding.h"
#include "core/ByteBlob.h"
#include "core/GuaranteedMemset.h"
#include "core/SecureStringReader.h"

namespace zeb {

namespace {

// Made at first use, so that objects of static lifetime may encode and decode, too.
const Base64FamilyEncoder& base64() {
    static const Base64FamilyEncoder encoder(&Base64Encoding::getInstance());
    return encoder;
}

const Base64FamilyEncoder& base64url() {
    static const Base64FamilyEncoder encoder(&Base64urlEncoding::getInstance());
    return encoder;
}

constexpr int DISCREET_FAILURE = -1;

}  // namespace

std::string base64_encode(const unsigned char* data, unsigned int length, bool lineBreaks) {
    return base64().encode(data, length, lineBreaks);
}

std::string base64_encode_without_padding(const unsigned char* data, unsigned int length, bool lineBreaks) {
    return base64().encodeWithoutPadding(data, length, lineBreaks);
}

std::string base64url_encode(const unsigned char* data, unsigned int length, bool lineBreaks) {
    return base64url().encode(data, length, lineBreaks);
}

std::string base64url_encode_without_padding(const unsigned char* data, unsigned int length,
                                             bool lineBreaks) {
    return base64url().encodeWithoutPadding(data, length, lineBreaks);
}

int base64_decode(const std::string& text, std::vector<unsigned char>& out) {
    return base64().decode(text, out);
}

int base64_decode_without_padding(const std::string& text, std::vector<unsigned char>& out) {
    return base64().decodeWithoutPadding(text, out);
}

int base64url_decode(const std::string& text, std::vector<unsigned char>& out) {
    return base64url().decode(text, out);
}

int base64url_decode_without_padding(const std::string& text, std::vector<unsigned char>& out) {
    return base64url().decodeWithoutPadding(text, out);
}

SecureString base64_discreet_encode(const unsigned char* data, unsigned int length, bool lineBreaks) {
    if (data == nullptr || length == 0) {
        return {};
    }
    const Base64DiscreetEncoder encoder;
    ByteBlob buffer(encoder.computeEncodedMessageLength(length, lineBreaks));
    if (buffer.data == nullptr) {
        return {};
    }
    auto* const text = reinterpret_cast<char*>(buffer.data);
    encoder.encode(text, data, length, lineBreaks);
    return {text, buffer.size};
}

int base64_discreet_decode(const SecureString& in, SecureString& out) {
    SecureStringReader reader;
    in.getUnsecureString(reader);
    if (reader.getBufSize() == 0) {
        return DISCREET_FAILURE;
    }
    const Base64DiscreetEncoder encoder;
    ByteBlob buffer(encoder.computeDecodedMessageLength(reader.c_str(), reader.getBufSize()));
    if (buffer.data == nullptr) {
        return DISCREET_FAILURE;
    }
    // The computed length may exceed what is written.
    guaranteed_memset(buffer.data, 0, buffer.size);
    const int result = encoder.decode(buffer.data, reader.c_str(), reader.getBufSize());
    if (result == 0) {
        out = SecureString(reinterpret_cast<const char*>(buffer.data), buffer.size);
    }
    return result;
}

}  // namespace zeb

/// The Base64 family on hostile texts. The input is decoded as a text in every form, and encoded as bytes in
/// every form; what the codecs promise about the way there and back must hold.

#include "Require.h"
#include "core/Base64.h"
#include "core/Base64DiscreetEncoder.h"
#include "core/Base64Encoding.h"
#include "core/Base64FamilyEncoder.h"
#include "core/Base64urlEncoding.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct Form {
    std::string (*encode)(const unsigned char*, unsigned int, bool);
    int (*decode)(const std::string&, Bytes&);
};

constexpr Form FORMS[] = {{zeb::base64_encode, zeb::base64_decode},
                          {zeb::base64_encode_without_padding, zeb::base64_decode_without_padding},
                          {zeb::base64url_encode, zeb::base64url_decode},
                          {zeb::base64url_encode_without_padding, zeb::base64url_decode_without_padding}};

std::string encode(const Form& form, const Bytes& bytes, bool lineBreaks) {
    return form.encode(bytes.data(), static_cast<unsigned int>(bytes.size()), lineBreaks);
}

void whatWasEncodedDecodesToItself(const Form& form, const Bytes& bytes) {
    for (const bool lineBreaks : {false, true}) {
        Bytes decoded;
        const int result = form.decode(encode(form, bytes, lineBreaks), decoded);
        ZEB_REQUIRE(result == (bytes.empty() ? -1 : 0));
        ZEB_REQUIRE(decoded == bytes);
    }
}

void whatDecodesIsEncodedAndDecodesToTheSame(const Form& form, const std::string& text) {
    Bytes decoded;
    const int result = form.decode(text, decoded);
    ZEB_REQUIRE(result <= 0 && result > zeb::Base64FamilyEncoder::INCOMPLETE_GROUP);  // no text leads there
    ZEB_REQUIRE(result == 0 || decoded.empty());
    if (!decoded.empty()) {
        whatWasEncodedDecodesToItself(form, decoded);
    }
}

void theShortcutDecodesAsTheStepsDo(const zeb::Encoding& encoding, const std::string& text) {
    const zeb::Base64FamilyEncoder encoder(&encoding);
    Bytes quick = {1, 2, 3};
    Bytes stepByStep = {1, 2, 3};
    ZEB_REQUIRE(encoder.decode(text, quick) == encoder.decodeStepByStep(text, stepByStep));
    ZEB_REQUIRE(quick == stepByStep);
}

// Where there is neither padding nor a line break to differ about. The buffer is of just the computed size.
void theDiscreetDecoderAgrees(const std::string& text) {
    const zeb::Base64DiscreetEncoder encoder;
    Bytes discreet(encoder.computeDecodedMessageLength(text.data(), text.size()));
    const int discreetResult =
        discreet.empty() ? -1 : encoder.decode(discreet.data(), text.data(), text.size());
    Bytes plain;
    const int plainResult = zeb::base64_decode(text, plain);
    if (text.find_first_of("=\r\n") == std::string::npos) {
        ZEB_REQUIRE(discreetResult == (plainResult == 0 ? 0 : -1));
        ZEB_REQUIRE(discreetResult != 0 || discreet == plain);
    }
}

void theDiscreetEncoderAgrees(const Bytes& bytes) {
    const zeb::Base64DiscreetEncoder encoder;
    for (const bool lineBreaks : {false, true}) {
        std::string plain = encode(FORMS[0], bytes, lineBreaks);
        if (!plain.empty() && plain.back() == '\n') {
            plain.resize(plain.size() - 2);
        }
        std::vector<char> discreet(encoder.computeEncodedMessageLength(bytes.size(), lineBreaks));
        encoder.encode(discreet.data(), bytes.data(), bytes.size(), lineBreaks);
        ZEB_REQUIRE(plain == std::string(discreet.begin(), discreet.end()));

        Bytes decoded(encoder.computeDecodedMessageLength(discreet.data(), discreet.size()));
        ZEB_REQUIRE(bytes.empty() || encoder.decode(decoded.data(), discreet.data(), discreet.size()) == 0);
        ZEB_REQUIRE(decoded == bytes);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes(data, data + size);
    const std::string text(bytes.begin(), bytes.end());
    for (const Form& form : FORMS) {
        whatWasEncodedDecodesToItself(form, bytes);
        whatDecodesIsEncodedAndDecodesToTheSame(form, text);
    }
    theShortcutDecodesAsTheStepsDo(zeb::Base64Encoding::getInstance(), text);
    theShortcutDecodesAsTheStepsDo(zeb::Base64urlEncoding::getInstance(), text);
    theDiscreetDecoderAgrees(text);
    theDiscreetEncoderAgrees(bytes);
    return 0;
}

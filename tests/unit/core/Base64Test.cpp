#include "core/Base64.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/evp.h>

namespace zeb::test {
namespace {

using Bytes = std::vector<unsigned char>;
using EncodeFunction = std::string (*)(const unsigned char*, unsigned int, bool);
using DecodeFunction = int (*)(const std::string&, Bytes&);

Bytes bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

std::string encodeBy(EncodeFunction encode, const Bytes& bytes, bool lineBreaks = false) {
    return encode(bytes.data(), static_cast<unsigned int>(bytes.size()), lineBreaks);
}

Bytes randomBytes(std::size_t size, unsigned int seed) {
    std::mt19937 random(seed);
    Bytes bytes(size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
    return bytes;
}

struct Form {
    const char* name;
    EncodeFunction encode;
    DecodeFunction decode;
    const char* padding;
};

class Base64FormTest : public testing::TestWithParam<Form> {};

INSTANTIATE_TEST_SUITE_P(AllForms, Base64FormTest,
                         testing::Values(Form{"Base64", base64_encode, base64_decode, "="},
                                         Form{"Base64WithoutPadding", base64_encode_without_padding,
                                              base64_decode_without_padding, ""},
                                         Form{"Base64url", base64url_encode, base64url_decode, "%3D"},
                                         Form{"Base64urlWithoutPadding", base64url_encode_without_padding,
                                              base64url_decode_without_padding, ""}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_P(Base64FormTest, EncodesAndDecodesTheVectorsOfTheStandard) {
    const std::vector<std::tuple<std::string, std::string, int>> vectors = {
        {"f", "Zg", 2},        {"fo", "Zm8", 1},        {"foo", "Zm9v", 0},
        {"foob", "Zm9vYg", 2}, {"fooba", "Zm9vYmE", 1}, {"foobar", "Zm9vYmFy", 0}};
    for (const auto& [plain, characters, paddingCount] : vectors) {
        std::string encoded = characters;
        for (int i = 0; i < paddingCount; ++i) {
            encoded += GetParam().padding;
        }
        EXPECT_EQ(encoded, encodeBy(GetParam().encode, bytesOf(plain)));
        Bytes decoded;
        EXPECT_EQ(0, GetParam().decode(encoded, decoded));
        EXPECT_EQ(bytesOf(plain), decoded);
    }
}

TEST_P(Base64FormTest, EncodesNothingToNothing) {
    const unsigned char byte = 'x';
    EXPECT_EQ("", GetParam().encode(nullptr, 0, false));
    EXPECT_EQ("", GetParam().encode(nullptr, 5, true));
    EXPECT_EQ("", GetParam().encode(&byte, 0, true));
}

TEST_P(Base64FormTest, RefusesToDecodeAnEmptyTextAndLeavesTheOutputAlone) {
    Bytes out = {1, 2, 3};
    EXPECT_EQ(-1, GetParam().decode("", out));
    EXPECT_EQ((Bytes{1, 2, 3}), out);
}

TEST_P(Base64FormTest, DecodesWhatItEncodedForAllSizesWithAndWithoutLineBreaks) {
    for (std::size_t size = 1; size < 300; ++size) {
        const Bytes bytes = randomBytes(size, static_cast<unsigned int>(size));
        for (const bool lineBreaks : {false, true}) {
            const std::string text = encodeBy(GetParam().encode, bytes, lineBreaks);
            Bytes decoded;
            ASSERT_EQ(0, GetParam().decode(text, decoded)) << size << text;
            ASSERT_EQ(bytes, decoded) << size;
        }
    }
}

TEST_P(Base64FormTest, AppendsToTheOutput) {
    Bytes out = bytesOf("before ");
    const std::string text = encodeBy(GetParam().encode, bytesOf("behind"));
    EXPECT_EQ(0, GetParam().decode(text, out));
    EXPECT_EQ(bytesOf("before behind"), out);
}

TEST_P(Base64FormTest, EmptiesTheOutputAtACharacterOutsideTheAlphabet) {
    for (const std::string& text : {std::string("Zm9v!m9v"), std::string("Zm9v\xFF\xFF\xFF\xFF"),
                                    std::string("Zm\0v", 4), std::string("Zm9 ")}) {
        Bytes out = {1, 2, 3};
        EXPECT_EQ(-2, GetParam().decode(text, out));
        EXPECT_TRUE(out.empty());
    }
}

TEST_P(Base64FormTest, RefusesAGroupOfOneCharacter) {
    for (const std::string& text : {std::string("Z"), std::string("Zm9vZ")}) {
        Bytes out = {1, 2, 3};
        EXPECT_EQ(-2, GetParam().decode(text, out));
        EXPECT_EQ((Bytes{1, 2, 3}), out);
    }
}

TEST_P(Base64FormTest, LeavesTheArgumentAsItWas) {
    const std::string text = "Zm9v\r\nZm9v\r\n";
    const std::string copy = text;
    Bytes out;
    EXPECT_EQ(0, GetParam().decode(text, out));
    EXPECT_EQ(copy, text);
    EXPECT_EQ(bytesOf("foofoo"), out);
}

TEST_P(Base64FormTest, DecodesTenMegabytes) {
    const Bytes bytes = randomBytes(10'000'000, 7);
    for (const bool lineBreaks : {false, true}) {
        Bytes decoded;
        EXPECT_EQ(0, GetParam().decode(encodeBy(GetParam().encode, bytes, lineBreaks), decoded));
        EXPECT_TRUE(bytes == decoded);
    }
}

// Quadratic time would run into the time limit of the test.
TEST_P(Base64FormTest, TakesLinearTimeForTenMegabytesOfPaddingOrOfLineBreaks) {
    for (const char* piece : {"=", "%3D", "\r\n", "A\r\n"}) {
        std::string text = "Zg";
        while (text.size() < 10'000'000) {
            text += piece;
        }
        Bytes out;
        EXPECT_LE(GetParam().decode(text, out), 0) << piece;
    }
}

TEST_P(Base64FormTest, NeverCrashesOnRandomBytes) {
    std::mt19937 random(3);
    for (int i = 0; i < 20'000; ++i) {
        std::string text(random() % 40, '\0');
        for (char& character : text) {
            character = static_cast<char>(random());
        }
        Bytes out;
        const int result = GetParam().decode(text, out);
        EXPECT_TRUE(result == 0 || result == -1 || result == -2 || result == -3);
    }
}

TEST(Base64Test, AgreesWithOpenSsl) {
    for (std::size_t size = 1; size < 200; ++size) {
        const Bytes bytes = randomBytes(size, static_cast<unsigned int>(size));
        std::string expected(size * 2 + 4, '\0');
        expected.resize(static_cast<std::size_t>(EVP_EncodeBlock(
            reinterpret_cast<unsigned char*>(expected.data()), bytes.data(), static_cast<int>(size))));
        EXPECT_EQ(expected, encodeBy(base64_encode, bytes));
    }
}

TEST(Base64Test, UsesTheStandardAlphabet) {
    EXPECT_EQ("++//", encodeBy(base64_encode, {0xFB, 0xEF, 0xFF}));
    Bytes out;
    EXPECT_EQ(-2, base64_decode("--__", out));
}

TEST(Base64urlTest, UsesTheUrlAlphabet) {
    EXPECT_EQ("--__", encodeBy(base64url_encode, {0xFB, 0xEF, 0xFF}));
    Bytes out;
    EXPECT_EQ(-2, base64url_decode("++//", out));
}

TEST(Base64urlTest, OneByteEndsInPercentEncodedPaddingTwice) {
    EXPECT_EQ("QQ%3D%3D", encodeBy(base64url_encode, bytesOf("A")));
}

TEST(Base64urlTest, OneByteWithoutPaddingGivesTwoCharacters) {
    EXPECT_EQ("QQ", encodeBy(base64url_encode_without_padding, bytesOf("A")));
}

TEST(Base64Test, OneSuperfluousPaddingCharacterIsAccepted) {
    for (const char* text : {"Zm9v=", "Zm8==", "Zg===", "Zg======="}) {
        Bytes out;
        EXPECT_EQ(0, base64_decode(text, out)) << text;
        EXPECT_EQ(bytesOf(std::string("foo", out.size())), out);
        EXPECT_FALSE(out.empty());
    }
}

TEST(Base64urlTest, SuperfluousPaddingIsAccepted) {
    for (const char* text : {"Zm9v%3D", "Zm8%3D%3D", "Zg%3D%3D%3D"}) {
        Bytes out;
        EXPECT_EQ(0, base64url_decode(text, out)) << text;
        EXPECT_EQ(bytesOf(std::string("foo", out.size())), out);
    }
}

TEST(Base64Test, NothingButPaddingDecodesToNothing) {
    for (const char* text : {"=", "==", "====", "\r\n", "\r\n="}) {
        Bytes out = {1};
        EXPECT_EQ(0, base64_decode(text, out));
        EXPECT_EQ(Bytes{1}, out);
    }
}

TEST(Base64Test, MissingPaddingIsRefused) {
    for (const char* text : {"Zg", "Zg=", "Zm8", "Zm9vZg="}) {
        Bytes out;
        EXPECT_EQ(-2, base64_decode(text, out)) << text;
    }
}

TEST(Base64urlTest, MissingPaddingIsRefused) {
    for (const char* text : {"Zg", "Zg%3D", "Zm8", "Zm8%3"}) {
        Bytes out;
        EXPECT_EQ(-2, base64url_decode(text, out)) << text;
    }
}

TEST(Base64Test, APaddedTextFollowedByALineBreakIsRefused) {
    Bytes out;
    EXPECT_EQ(-2, base64_decode("Zg==\r\n", out));
    EXPECT_EQ(-2, base64url_decode("Zg%3D%3D\r\n", out));
}

TEST(Base64Test, NothingMayFollowPadding) {
    for (const char* text : {"Zg==Zg==", "Zg=Z", "=Zg=", "Zg=\n=", "Zg==\n"}) {
        Bytes out = {1, 2, 3};
        EXPECT_EQ(-2, base64_decode(text, out)) << text;
        EXPECT_EQ((Bytes{1, 2, 3}), out) << text;
    }
}

TEST(Base64urlTest, NothingMayFollowPadding) {
    for (const char* text : {"Zg%3D%3DZg%3D%3D", "Zg%3D\r\n%3D", "Zg%3\r\nD%3D", "%3D\n%3D", "Zg%3D%3D="}) {
        Bytes out = {1, 2, 3};
        EXPECT_EQ(-2, base64url_decode(text, out)) << text;
        EXPECT_EQ((Bytes{1, 2, 3}), out) << text;
    }
}

// Padding torn by a line break is none, and its characters aren't of the alphabet. What the surplus leaves
// behind may look like padding: it is not counted again.
TEST(Base64urlTest, TornPaddingIsNoPadding) {
    for (const char* text : {"Zg%\r\n3D%3D%3D", "%%3D", "Zg%%3D3D"}) {
        Bytes out;
        EXPECT_EQ(-2, base64url_decode(text, out)) << text;
    }
}

// "\n" at place 1 passes the check of the padding, and is refused as a character, which empties the output.
TEST(Base64Test, ALineFeedBehindPaddingAtTheVeryStartGetsAsFarAsTheGroups) {
    for (const char* text : {"=\n==", "=\nX=", "=\n\n=", "=\n===", "=\nX===", "=\n====="}) {
        Bytes out = {1, 2, 3};
        EXPECT_EQ(-2, base64_decode(text, out)) << text;
        EXPECT_TRUE(out.empty()) << text;
    }
}

TEST(Base64Test, ALineFeedAtPlaceOneIsRefusedEarlierForItsSizeOrForWhatFollows) {
    for (const char* text : {"=\n", "=\n=", "=\nA", "=\nAB", "=\n\nA", "=\r\n=", "A=\n="}) {
        Bytes out = {1, 2, 3};
        EXPECT_EQ(-2, base64_decode(text, out)) << text;
        EXPECT_EQ((Bytes{1, 2, 3}), out) << text;
    }
}

TEST(Base64Test, PercentEncodedPaddingIsNoPaddingInPlainBase64) {
    Bytes out;
    EXPECT_EQ(-2, base64_decode("Zg%3D%3D", out));
}

// '=' has the value 0 in the table of either encoding, but isn't how Base64url writes padding.
TEST(Base64urlTest, AnEqualsSignDecodesAsZeroBits) {
    Bytes out;
    EXPECT_EQ(0, base64url_decode("Zg==", out));
    EXPECT_EQ((Bytes{'f', 0, 0}), out);
}

TEST(Base64Test, FiftyFourBytesWithLineBreaksGiveSeventyFourCharacters) {
    const std::string text = encodeBy(base64_encode, Bytes(54, 'x'), true);
    EXPECT_EQ(74U, text.size());
    EXPECT_EQ("\r\n", text.substr(72));
}

TEST(Base64Test, LineBreaksStandBehindEverySeventySecondCharacter) {
    const std::string text = encodeBy(base64_encode, Bytes(54 * 2 + 1, 'x'), true);
    ASSERT_EQ(74U * 2 + 4, text.size());
    EXPECT_EQ("\r\n", text.substr(72, 2));
    EXPECT_EQ("\r\n", text.substr(146, 2));
    EXPECT_EQ("eA==", text.substr(148));
    EXPECT_EQ(std::string::npos, encodeBy(base64_encode, Bytes(500, 'x'), false).find_first_of("\r\n"));
}

TEST(Base64Test, LinesOfEqualLengthAreAccepted) {
    for (const char* text :
         {"Zm9v\r\nZm9v", "Zm9v\r\nZm8=", "Zm9v\r\nZm9v\r\n", "Z\r\nm\r\n9\r\nv", "Zm9\r\nv"}) {
        Bytes out;
        EXPECT_EQ(0, base64_decode(text, out)) << text;
        ASSERT_FALSE(out.empty());
        EXPECT_EQ('f', out.front());
    }
}

TEST(Base64Test, LinesOfUnequalLengthAreRefused) {
    for (const char* text : {"Zm9v\r\nZm\r\n9v", "Zm\r\n9vZm\r\n9v", "Zm9v\r\nZm9vZm9v", "\r\nZm9v"}) {
        Bytes out;
        EXPECT_EQ(-2, base64_decode(text, out)) << text;
    }
}

// Behind the first line break there is only a look at the places where further ones are due.
TEST(Base64Test, ShortLinesAtTheEndEscapeTheCheckOfTheLines) {
    Bytes out;
    EXPECT_EQ(0, base64_decode("Zm9vZm9v\r\nZm\r\n9v", out));
    EXPECT_EQ(bytesOf("foofoofoo"), out);
}

TEST(Base64Test, ABareCarriageReturnOrLineFeedIsRefused) {
    for (const char* text : {"Zm9v\n", "Zm9v\r", "Zm9\n", "Zm\r9", "Zm9v\n\rZm"}) {
        Bytes out;
        EXPECT_EQ(-2, base64_decode(text, out)) << text;
    }
}

TEST(Base64Test, ALineBreakWithinALineBreakIsRefused) {
    Bytes out;
    EXPECT_EQ(-2, base64_decode("AA\r\r\n\n==", out));
}

// With three characters for each, the padding of the last line may reach to where the next line break is due.
TEST(Base64urlTest, PaddingMayStandWhereALineBreakIsDue) {
    for (const std::size_t size : {54U + 52U, 54U + 53U}) {
        const Bytes bytes = randomBytes(size, 1);
        const std::string text = encodeBy(base64url_encode, bytes, true);
        EXPECT_GT(text.size(), 74U + 72U);
        Bytes out;
        EXPECT_EQ(0, base64url_decode(text, out)) << text;
        EXPECT_EQ(bytes, out);
    }
}

TEST(Base64Test, DecodingWithoutPaddingGivesTheSameBytesAsDecodingThePaddedText) {
    for (std::size_t size = 1; size < 100; ++size) {
        const Bytes bytes = randomBytes(size, static_cast<unsigned int>(size));
        Bytes padded;
        Bytes unpadded;
        EXPECT_EQ(0, base64_decode(encodeBy(base64_encode, bytes), padded));
        EXPECT_EQ(0, base64_decode_without_padding(encodeBy(base64_encode_without_padding, bytes), unpadded));
        EXPECT_EQ(padded, unpadded);
    }
}

TEST(Base64Test, DecodingWithoutPaddingAcceptsPaddedAndHalfPaddedTextsToo) {
    for (const char* text : {"Zg", "Zg=", "Zg=="}) {
        Bytes out;
        EXPECT_EQ(0, base64_decode_without_padding(text, out)) << text;
        EXPECT_EQ(bytesOf("f"), out);
    }
    for (const char* text : {"Zg", "Zg%3D%3D", "Zm8%3D"}) {
        Bytes out;
        EXPECT_EQ(0, base64url_decode_without_padding(text, out)) << text;
        ASSERT_FALSE(out.empty());
        EXPECT_EQ('f', out.front());
    }
}

TEST(Base64Test, DecodingWithoutPaddingDoesNotCountTheLineBreaks) {
    Bytes out;
    EXPECT_EQ(0, base64_decode_without_padding("Zm9vZg\r\n", out));
    EXPECT_EQ(bytesOf("foof"), out);
}

TEST(Base64Test, BitsBehindTheLastByteAreIgnored) {
    Bytes out;
    EXPECT_EQ(0, base64_decode("Zh==", out));
    EXPECT_EQ(bytesOf("f"), out);
}

}  // namespace
}  // namespace zeb::test

#include "core/Base64Encoding.h"
#include "core/Base64FamilyEncoder.h"
#include "core/Base64urlEncoding.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::test {
namespace {

using Bytes = std::vector<unsigned char>;

class Base64FamilyEncoderTest : public testing::TestWithParam<const Encoding*> {
protected:
    // Both ways must give the same result and leave the same output, for text of all kinds.
    void expectSameBothWays(const std::string& text) const {
        Bytes quick = {1, 2, 3};
        Bytes stepByStep = {1, 2, 3};
        const int quickResult = encoder_.decode(text, quick);
        ASSERT_EQ(encoder_.decodeStepByStep(text, stepByStep), quickResult) << testing::PrintToString(text);
        ASSERT_EQ(stepByStep, quick) << testing::PrintToString(text);
        ASSERT_NE(Base64FamilyEncoder::INCOMPLETE_GROUP, quickResult) << testing::PrintToString(text);
    }

    const Base64FamilyEncoder encoder_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(BothEncodings, Base64FamilyEncoderTest,
                         testing::Values(static_cast<const Encoding*>(&Base64Encoding::getInstance()),
                                         static_cast<const Encoding*>(&Base64urlEncoding::getInstance())),
                         [](const auto& instance) {
                             return instance.param->isPaddingCharEncoded() ? "Base64url" : "Base64";
                         });

TEST_P(Base64FamilyEncoderTest, TheShortcutDecodesAllShortTextsAsTheStepsDo) {
    const std::string characters("A/_=%3D\r\n", 9);
    constexpr int LONGEST = 6;
    std::vector<std::string> texts = {""};
    for (int length = 1; length <= LONGEST; ++length) {
        std::vector<std::string> longer;
        for (const std::string& text : texts) {
            for (const char character : characters) {
                expectSameBothWays(text + character);
                if (length < LONGEST) {
                    longer.push_back(text + character);
                }
            }
        }
        texts.swap(longer);
    }
}

TEST_P(Base64FamilyEncoderTest, TheShortcutDecodesDamagedTextsAsTheStepsDo) {
    std::mt19937 random(5);
    const std::vector<std::string> damages = {
        "=", "%3D", "%", "\r\n", "\r", "\n", "!", "-", "+", std::string(1, '\0'), "\xFF", "", "==", "%3D%3D"};
    for (int i = 0; i < 30'000; ++i) {
        Bytes bytes(random() % 130);
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(random());
        }
        std::string text = encoder_.encode(bytes.data(), bytes.size(), random() % 2 == 0);
        for (unsigned int damage = random() % 3; damage > 0; --damage) {
            const std::size_t place = random() % 2 == 0 ? text.size() : random() % (text.size() + 1);
            text.replace(place, random() % 3, damages[random() % damages.size()]);
        }
        expectSameBothWays(text);
    }
}

TEST_P(Base64FamilyEncoderTest, EncodingIsTheFormWithoutPaddingAndThePadding) {
    for (std::size_t size = 0; size < 200; ++size) {
        const Bytes bytes(size, 'x');
        for (const bool lineBreaks : {false, true}) {
            const std::string bare = encoder_.encodeWithoutPadding(bytes.data(), size, lineBreaks);
            std::string expected = bare;
            for (std::size_t i = 0; i < (3 - size % 3) % 3; ++i) {
                expected += GetParam()->getEncodedPaddingChars();
            }
            EXPECT_EQ(expected, encoder_.encode(bytes.data(), size, lineBreaks));
        }
    }
}

TEST_P(Base64FamilyEncoderTest, TheDecodingTableIsTheInverseOfTheAlphabet) {
    const std::string alphabet(GetParam()->getEncodingTable(), 64);
    for (int character = 0; character < 256; ++character) {
        const std::size_t value = alphabet.find(static_cast<char>(character));
        const int expected = character == '='             ? 0
                             : value == std::string::npos ? 255
                                                          : static_cast<int>(value);
        EXPECT_EQ(expected, GetParam()->getDecodingTable()[character]) << character;
    }
}

// No text leads there with the two encodings that there are. One whose padding is lost on decoding does.
class PaddingLosingEncoding : public Encoding {
public:
    const char* getEncodingTable() const override { return base64_.getEncodingTable(); }
    const unsigned char* getDecodingTable() const override { return base64_.getDecodingTable(); }
    std::string_view getEncodedPaddingChars() const override { return "="; }
    std::string_view getDecodedPaddingChars() const override { return ""; }
    bool isPaddingCharEncoded() const override { return true; }

private:
    const Encoding& base64_ = Base64Encoding::getInstance();
};

TEST(Base64FamilyEncoderFailureTest, AnIncompleteGroupEmptiesTheOutput) {
    const PaddingLosingEncoding encoding;
    const Base64FamilyEncoder encoder(&encoding);
    Bytes out = {1, 2, 3};
    EXPECT_EQ(Base64FamilyEncoder::INCOMPLETE_GROUP, encoder.decode("Zm9vZg===", out));
    EXPECT_TRUE(out.empty());
}

TEST(Base64EncodingTest, WritesPaddingAsItIs) {
    const Encoding& encoding = Base64Encoding::getInstance();
    EXPECT_EQ("=", encoding.getEncodedPaddingChars());
    EXPECT_EQ("=", encoding.getDecodedPaddingChars());
    EXPECT_FALSE(encoding.isPaddingCharEncoded());
    EXPECT_EQ("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/",
              std::string(encoding.getEncodingTable(), 64));
}

TEST(Base64urlEncodingTest, WritesPaddingPercentEncoded) {
    const Encoding& encoding = Base64urlEncoding::getInstance();
    EXPECT_EQ("%3D", encoding.getEncodedPaddingChars());
    EXPECT_EQ("=", encoding.getDecodedPaddingChars());
    EXPECT_TRUE(encoding.isPaddingCharEncoded());
    EXPECT_EQ("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_",
              std::string(encoding.getEncodingTable(), 64));
}

}  // namespace
}  // namespace zeb::test

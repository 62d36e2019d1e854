#include "core/Base64.h"
#include "core/Base64DiscreetEncoder.h"
#include "core/SecureString.h"
#include "core/SecureStringReader.h"
#include "support/MemoryScan.h"

#include <algorithm>
#include <pthread.h>
#include <random>
#include <string>
#include <sys/mman.h>
#include <vector>

#include <climits>
#include <gtest/gtest.h>

namespace zeb::test {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr char CANARY = '#';

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string randomText(std::size_t size) {
    std::mt19937 random(static_cast<unsigned int>(size));
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(), [&random] { return static_cast<char>(random()); });
    return text;
}

// Encodes into a buffer of just the computed size: a sanitizer sees each byte too many.
std::string encode(const std::string& data, bool lineBreaks) {
    const Base64DiscreetEncoder encoder;
    std::vector<char> out(encoder.computeEncodedMessageLength(data.size(), lineBreaks), CANARY);
    encoder.encode(out.data(), bytesOf(data), data.size(), lineBreaks);
    return {out.begin(), out.end()};
}

struct Decoded {
    int result;
    std::string bytes;
};

Decoded decode(const std::string& text) {
    const Base64DiscreetEncoder encoder;
    std::vector<unsigned char> out(encoder.computeDecodedMessageLength(text.data(), text.size()), CANARY);
    unsigned char nothing = 0;
    const int result = encoder.decode(out.empty() ? &nothing : out.data(), text.data(), text.size());
    return {result, {out.begin(), out.end()}};
}

std::string read(const SecureString& secret) {
    SecureStringReader reader;
    secret.getUnsecureString(reader);
    return {reader.c_str(), reader.getBufSize()};
}

TEST(Base64DiscreetEncoderTest, ComputesTheEncodedLength) {
    const Base64DiscreetEncoder encoder;
    EXPECT_EQ(0U, encoder.computeEncodedMessageLength(0, false));
    EXPECT_EQ(0U, encoder.computeEncodedMessageLength(0, true));
    EXPECT_EQ(4U, encoder.computeEncodedMessageLength(1, false));
    EXPECT_EQ(4U, encoder.computeEncodedMessageLength(3, true));
    EXPECT_EQ(8U, encoder.computeEncodedMessageLength(4, true));
    EXPECT_EQ(72U, encoder.computeEncodedMessageLength(54, true));
    EXPECT_EQ(78U, encoder.computeEncodedMessageLength(55, true));
    EXPECT_EQ(146U, encoder.computeEncodedMessageLength(108, true));
    EXPECT_EQ(152U, encoder.computeEncodedMessageLength(109, true));
}

TEST(Base64DiscreetEncoderTest, ComputesTheDecodedLength) {
    const Base64DiscreetEncoder encoder;
    const auto lengthFor = [&encoder](const std::string& text) {
        return encoder.computeDecodedMessageLength(text.data(), text.size());
    };
    EXPECT_EQ(0U, encoder.computeDecodedMessageLength(nullptr, 4));
    EXPECT_EQ(0U, lengthFor(""));
    EXPECT_EQ(0U, lengthFor("\r\n"));
    EXPECT_EQ(0U, lengthFor("\n"));
    EXPECT_EQ(0U, lengthFor("Zm9"));
    EXPECT_EQ(3U, lengthFor("Zm9v"));
    EXPECT_EQ(2U, lengthFor("Zm8="));
    EXPECT_EQ(1U, lengthFor("Zg=="));
    EXPECT_EQ(6U, lengthFor("Zm9v\r\nZm9v"));
}

TEST(Base64DiscreetEncoderTest, LineBreaksBehindThePaddingHideItFromTheComputedLength) {
    const Base64DiscreetEncoder encoder;
    EXPECT_EQ(3U, encoder.computeDecodedMessageLength("Zg==\r\n", 6));
    EXPECT_EQ(2U, encoder.computeDecodedMessageLength("Zg==\n", 5));
}

TEST(Base64DiscreetEncoderTest, EncodesTheVectorsOfTheStandard) {
    EXPECT_EQ("Zg==", encode("f", false));
    EXPECT_EQ("Zm8=", encode("fo", false));
    EXPECT_EQ("Zm9v", encode("foo", false));
    EXPECT_EQ("Zm9vYg==", encode("foob", false));
    EXPECT_EQ("Zm9vYmE=", encode("fooba", false));
    EXPECT_EQ("Zm9vYmFy", encode("foobar", false));
}

TEST(Base64DiscreetEncoderTest, EncodesAsThePlainEncoderButNeverEndsInALineBreak) {
    for (std::size_t size = 1; size < 300; ++size) {
        const std::string data = randomText(size);
        for (const bool lineBreaks : {false, true}) {
            std::string expected = base64_encode(bytesOf(data), static_cast<unsigned int>(size), lineBreaks);
            if (expected.back() == '\n') {
                expected.resize(expected.size() - 2);
            }
            ASSERT_EQ(expected, encode(data, lineBreaks)) << size;
        }
    }
}

TEST(Base64DiscreetEncoderTest, FiftyFourBytesWithLineBreaksGiveSeventyTwoCharacters) {
    EXPECT_EQ(std::string::npos, encode(std::string(54, 'x'), true).find('\n'));
    EXPECT_EQ(72U, encode(std::string(54, 'x'), true).size());
    EXPECT_EQ(72U, encode(std::string(55, 'x'), true).find("\r\n"));
}

TEST(Base64DiscreetEncoderTest, EncodesNothingForNullAndEmptyArguments) {
    const Base64DiscreetEncoder encoder;
    const unsigned char byte = 'x';
    char out[] = {CANARY, CANARY, CANARY, CANARY};
    encoder.encode(out, nullptr, 3, true);
    encoder.encode(out, &byte, 0, true);
    encoder.encode(nullptr, &byte, 1, true);
    EXPECT_EQ(std::string(4, CANARY), std::string(out, 4));
}

TEST(Base64DiscreetEncoderTest, DecodesWhatItEncoded) {
    for (std::size_t size = 1; size < 300; ++size) {
        const std::string data = randomText(size);
        for (const bool lineBreaks : {false, true}) {
            const Decoded decoded = decode(encode(data, lineBreaks));
            ASSERT_EQ(0, decoded.result);
            ASSERT_EQ(data, decoded.bytes);
        }
    }
}

TEST(Base64DiscreetEncoderTest, SkipsLineBreakCharactersWhereverTheyStand) {
    for (const char* text : {"\r\nZm9v", "Z\nm\r9\r\nv", "Zm9v\n\n\n"}) {
        EXPECT_EQ(0, decode(text).result);
        EXPECT_EQ("foo", decode(text).bytes);
    }
}

TEST(Base64DiscreetEncoderTest, RefusesNullAndEmptyArgumentsAndBadTexts) {
    const Base64DiscreetEncoder encoder;
    unsigned char out[16];
    EXPECT_EQ(-1, encoder.decode(nullptr, "Zm9v", 4));
    EXPECT_EQ(-1, encoder.decode(out, nullptr, 4));
    EXPECT_EQ(-1, encoder.decode(out, "Zm9v", 0));
    for (const char* text : {"Z", "Zg", "Zg=", "Zm9vZ", "Zm9!", "Zm\xFFv", "Zm 9", "-_-_"}) {
        EXPECT_EQ(-1, decode(text).result) << text;
    }
}

// The computed size is that of the buffer: a byte more written, on any text, would be an overflow.
TEST(Base64DiscreetEncoderTest, NeverWritesMoreThanTheComputedLength) {
    std::mt19937 random(11);
    const std::string characters = "AZ=\r\n";
    const Base64DiscreetEncoder encoder;
    for (int i = 0; i < 100'000; ++i) {
        std::string text(random() % 14, 'A');
        for (char& character : text) {
            character = characters[random() % characters.size()];
        }
        const unsigned long room = encoder.computeDecodedMessageLength(text.data(), text.size());
        Bytes out(room + 8, CANARY);
        encoder.decode(out.data(), text.data(), text.size());
        for (std::size_t behind = room; behind < out.size(); ++behind) {
            ASSERT_EQ(CANARY, out[behind]) << testing::PrintToString(text);
        }
    }
}

template <typename Function>
__attribute__((noinline)) void callInItsOwnFrame(Function& function) {
    function();
    __asm__ __volatile__("" : : : "memory");  // no tail call
}

// Runs on a stack of its own, so that what a function leaves below its frame can be looked at in peace.
template <typename Function>
std::string stackLeftBy(Function function) {
    constexpr std::size_t SIZE = 2UL << 20U;  // a sanitizer wants nearly a megabyte for itself
    void* const stack = mmap(nullptr, SIZE, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, SIZE);
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        char gap[64UL << 10U];  // what the thread does at its end stays above it
        __asm__ __volatile__("" : : "r"(gap) : "memory");
        callInItsOwnFrame(*static_cast<Function*>(argument));
        return nullptr;
    };
    EXPECT_EQ(0, pthread_create(&thread, &attributes, run, &function));
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const std::vector<unsigned char> left = peekAtMemory(stack, SIZE);
    munmap(stack, SIZE);
    EXPECT_EQ(SIZE, left.size());
    return {left.begin(), left.end()};
}

TEST(Base64DiscreetEncoderTest, TheScanFindsAGroupThatAFunctionLeavesOnItsStack) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "AddressSanitizer keeps the locals of a function on a stack of its own.";
#endif
    const std::string group = "q8Zx";
    const std::string left = stackLeftBy([&group] {
        volatile char characters[4] = {};
        std::copy(group.begin(), group.end(), characters);
    });
    EXPECT_NE(std::string::npos, left.find(group));
}

// Characters that are the same in each group, or octets in order: what a group array would still hold.
TEST(Base64DiscreetEncoderTest, LeavesNoGroupOnTheStack) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "AddressSanitizer keeps the locals of a function on a stack of its own.";
#endif
    const Base64DiscreetEncoder encoder;
    const std::string text = "q8Zxq8Zxq8Zx";
    const std::string octets = "\xAB\xC6\x71";
    std::string data;
    for (int i = 0; i < 3; ++i) {
        data += octets;
    }
    std::vector<unsigned char> decoded(data.size());
    std::vector<char> encoded(text.size());
    const std::string left = stackLeftBy([&] {
        encoder.encode(encoded.data(), bytesOf(data), data.size(), true);
        encoder.decode(decoded.data(), text.data(), text.size());
    });
    EXPECT_EQ(text, std::string(encoded.begin(), encoded.end()));
    EXPECT_EQ(data, std::string(decoded.begin(), decoded.end()));
    EXPECT_EQ(std::string::npos, left.find("q8Zx"));
    EXPECT_EQ(std::string::npos, left.find(octets));
}

TEST(Base64DiscreetEncoderTest, LeavesNoGroupOnTheStackWhenItRefusesAText) {
    const Base64DiscreetEncoder encoder;
    const std::string text = "q8Zxq8Z!";
    unsigned char decoded[6];
    const std::string left = stackLeftBy([&] { encoder.decode(decoded, text.data(), text.size()); });
    EXPECT_EQ(std::string::npos, left.find("q8Z"));
    EXPECT_EQ(std::string::npos, left.find("\xAB\xC6\x71"));
}

TEST(Base64DiscreetTest, ASecretIsEncodedAndDecoded) {
    for (const std::size_t size : {1U, 2U, 3U, 54U, 55U, 200U}) {
        for (const bool lineBreaks : {false, true}) {
            const std::string data = randomText(size);
            const SecureString encoded =
                base64_discreet_encode(bytesOf(data), static_cast<unsigned int>(size), lineBreaks);
            EXPECT_EQ(encode(data, lineBreaks), read(encoded));
            SecureString decoded;
            EXPECT_EQ(0, base64_discreet_decode(encoded, decoded));
            EXPECT_EQ(data, read(decoded));
        }
    }
}

TEST(Base64DiscreetTest, NothingEncodesToAnEmptySecret) {
    const unsigned char byte = 'x';
    EXPECT_TRUE(base64_discreet_encode(nullptr, 3, false).empty());
    EXPECT_TRUE(base64_discreet_encode(&byte, 0, false).empty());
}

TEST(Base64DiscreetTest, AFailedDecodingLeavesTheOutputAsItWas) {
    for (const char* text : {"", "Zg", "\r\n", "Zm9!"}) {
        SecureString out(std::string("before"));
        EXPECT_EQ(-1, base64_discreet_decode(SecureString(std::string(text)), out)) << text;
        EXPECT_EQ("before", read(out));
    }
}

TEST(Base64DiscreetTest, PaddingBeforeTheEndMakesTheSecretTooLongByNuls) {
    SecureString out;
    EXPECT_EQ(0, base64_discreet_decode(SecureString(std::string("Zg==Zm9v")), out));
    EXPECT_EQ(std::string("ffoo\0\0", 6), read(out));
}

TEST(Base64DiscreetTest, LineBreaksBehindThePaddingMakeTheSecretTooLongByNuls) {
    SecureString out;
    EXPECT_EQ(0, base64_discreet_decode(SecureString(std::string("Zg==\r\n")), out));
    EXPECT_EQ(std::string("f\0\0", 3), read(out));
}

TEST(Base64DiscreetTest, ASecretMayBeDecodedInPlace) {
    SecureString secret(std::string("Zm9v"));
    EXPECT_EQ(0, base64_discreet_decode(secret, secret));
    EXPECT_EQ("foo", read(secret));
}

TEST(Base64DiscreetTest, DecodingLeavesFormerCopiesOfTheOutputAlone) {
    SecureString out(std::string("before"));
    const SecureString copy = out;
    EXPECT_EQ(0, base64_discreet_decode(SecureString(std::string("Zm9v")), out));
    EXPECT_EQ("before", read(copy));
}

TEST(Base64DiscreetTest, TakesTenMegabytes) {
    const std::string data = randomText(10'000'000);
    SecureString decoded;
    EXPECT_EQ(
        0, base64_discreet_decode(
               base64_discreet_encode(bytesOf(data), static_cast<unsigned int>(data.size()), true), decoded));
    EXPECT_TRUE(data == read(decoded));
}

}  // namespace
}  // namespace zeb::test

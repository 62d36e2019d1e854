// A random source that fails can be put in place only by an interface that OpenSSL 3 calls deprecated.
#define OPENSSL_SUPPRESS_DEPRECATED

#include "core/Base64.h"
#include "core/SecureString.h"
#include "core/SecureStringCipher.h"
#include "core/SecureStringData.h"
#include "core/SecureStringReader.h"
#include "core/SecureStringUtils.h"
#include "support/MemoryScan.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <climits>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

namespace zeb::test {
namespace {

using Bytes = std::vector<unsigned char>;

std::string read(const SecureString& secret) {
    SecureStringReader reader;
    secret.getUnsecureString(reader);
    return {reader.c_str(), reader.getBufSize()};
}

// Wiped at its end: a later test looks for it in memory.
struct Key : ByteBlob {
    Key() : ByteBlob(internal::SECURE_STRING_KEY_SIZE) { internal::bWV0aG9k(data); }
};

SecureString secretOf(const std::string& text) {
    return SecureString(text);
}

TEST(SecureStringTest, ANewStringIsEmpty) {
    const SecureString secret;
    EXPECT_TRUE(secret.empty());
    EXPECT_EQ("", read(secret));
    EXPECT_TRUE(secret.getEncryptedValue().empty());
    EXPECT_EQ("", secret.serializeToBase64());
}

TEST(SecureStringTest, AnEmptyTextGivesAnEmptyStringAndAnEmptyEncryptedValue) {
    const SecureString secret("", 0);
    EXPECT_TRUE(secret.empty());
    EXPECT_TRUE(secret.getEncryptedValue().empty());
    EXPECT_TRUE(secretOf("").empty());
}

TEST(SecureStringTest, GivesBackTextsOfAllLengthsAroundTheCipherBlock) {
    for (std::size_t size = 1; size < 70; ++size) {
        const std::string text(size, static_cast<char>('a' + size % 26));
        EXPECT_EQ(text, read(secretOf(text)));
        EXPECT_EQ(text, read(SecureString(text.c_str(), size)));
    }
}

TEST(SecureStringTest, GivesBackEmbeddedNulsAndHighBytes) {
    const std::string text("\0a\0\xFF\xFE\0", 6);
    EXPECT_EQ(text, read(secretOf(text)));
}

TEST(SecureStringTest, GivesBackTenMegabytes) {
    std::string text(10'000'000, '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char>(i * i >> 3U);
    }
    const SecureString secret(text);
    EXPECT_TRUE(text == read(secret));
    EXPECT_TRUE(secret == SecureString::createFromBase64(secret.serializeToBase64()));
}

TEST(SecureStringTest, TheEncryptedValueIsTheInitialisationVectorAndThePaddedCiphertext) {
    EXPECT_EQ(16U + 16U, secretOf("x").getEncryptedValue().size());
    EXPECT_EQ(16U + 16U, secretOf(std::string(15, 'x')).getEncryptedValue().size());
    EXPECT_EQ(16U + 32U, secretOf(std::string(16, 'x')).getEncryptedValue().size());
}

TEST(SecureStringTest, TheCipherIsAes256InCbcMode) {
    const Bytes value = secretOf("a text that takes more than one block").getEncryptedValue();
    const Key key;
    Bytes text(value.size());
    int written = 0;
    int last = 0;
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    EXPECT_EQ(1, EVP_DecryptInit_ex(context, EVP_aes_256_cbc(), nullptr, key.data, value.data()));
    EXPECT_EQ(1, EVP_DecryptUpdate(context, text.data(), &written, value.data() + 16,
                                   static_cast<int>(value.size()) - 16));
    EXPECT_EQ(1, EVP_DecryptFinal_ex(context, text.data() + written, &last));
    EVP_CIPHER_CTX_free(context);
    EXPECT_EQ("a text that takes more than one block",
              std::string(text.begin(), text.begin() + written + last));
}

TEST(SecureStringTest, EncryptingTheSameTextTwiceGivesDifferentCiphertextsThatCompareEqual) {
    const SecureString first = secretOf("secret");
    const SecureString second = secretOf("secret");
    EXPECT_NE(first.getEncryptedValue(), second.getEncryptedValue());
    EXPECT_TRUE(first == second);
    EXPECT_FALSE(first != second);
}

TEST(SecureStringTest, EachSettingTakesANewInitialisationVector) {
    SecureString secret;
    std::set<Bytes> vectors;
    for (int i = 0; i < 100; ++i) {
        secret.setValue("secret", 6);
        const Bytes value = secret.getEncryptedValue();
        vectors.insert(Bytes(value.begin(), value.begin() + 16));
    }
    EXPECT_EQ(100U, vectors.size());
}

TEST(SecureStringTest, SettingNullDoesNothingAtAll) {
    SecureString secret(std::string("secret"));
    secret.setValue(nullptr, 0);
    secret.setValue(nullptr, 5);
    EXPECT_EQ("secret", read(secret));
    EXPECT_TRUE(SecureString(nullptr, 5).empty());
}

TEST(SecureStringTest, SettingALengthOfZeroMakesTheStringEmptyButKeepsTheCiphertext) {
    SecureString secret(std::string("secret"));
    secret.setValue("", 0);
    EXPECT_TRUE(secret.empty());
    EXPECT_TRUE(secret.getEncryptedValue().empty());
    EXPECT_EQ("", secret.serializeToBase64());
    EXPECT_TRUE(secret == SecureString());
    EXPECT_EQ("secret", read(secret));
}

TEST(SecureStringTest, AnEmptiedStringMayBeSetAgain) {
    SecureString secret(std::string("secret"));
    secret.setValue("", 0);
    secret.setValue("other", 5);
    EXPECT_FALSE(secret.empty());
    EXPECT_EQ("other", read(secret));
}

TEST(SecureStringTest, ALengthBeyondAllMemoryIsAFailedEncryptionAndLeavesTheStringEmpty) {
    SecureString secret(std::string("secret"));
    secret.setValue("x", ULONG_MAX);
    EXPECT_TRUE(secret.empty());
    EXPECT_EQ("", read(secret));
    secret.setValue("x", ULONG_MAX - 31);
    EXPECT_TRUE(secret.empty());
}

TEST(SecureStringTest, AfterSettingACopyTheFirstObjectReadsTheNewText) {
    const SecureString first = secretOf("old");
    SecureString copy = first;
    copy.setValue("new", 3);
    EXPECT_EQ("new", read(first));

    const SecureString empty;
    SecureString copyOfEmpty(empty);
    copyOfEmpty.setValue("new", 3);
    EXPECT_EQ("new", read(empty));
}

TEST(SecureStringTest, AssignmentLeavesFormerCopiesAlone) {
    SecureString first = secretOf("old");
    const SecureString copy = first;
    first = secretOf("new");
    EXPECT_EQ("old", read(copy));
    EXPECT_EQ("new", read(first));
}

TEST(SecureStringTest, AMovedFromStringIsEmptyAndUsable) {
    SecureString first = secretOf("secret");
    SecureString second = std::move(first);
    EXPECT_EQ("secret", read(second));
    // NOLINTBEGIN(bugprone-use-after-move): the promise under test
    EXPECT_TRUE(first.empty());
    EXPECT_EQ("", read(first));
    EXPECT_TRUE(first.getEncryptedValue().empty());
    EXPECT_EQ("", first.serializeToBase64());
    EXPECT_TRUE(first == SecureString());
    EXPECT_FALSE(first == second);
    const SecureString copyOfMovedFrom = first;
    EXPECT_TRUE(copyOfMovedFrom.empty());
    first.setValue("new", 3);
    // NOLINTEND(bugprone-use-after-move)
    EXPECT_EQ("new", read(first));
    EXPECT_EQ("secret", read(second));

    second = std::move(first);
    EXPECT_EQ("new", read(second));
    first = second;
    EXPECT_EQ("new", read(first));
}

TEST(SecureStringTest, AnEncryptedValueGivesAnEqualString) {
    const SecureString secret = secretOf("secret");
    const SecureString other(secret.getEncryptedValue());
    EXPECT_TRUE(secret == other);
    EXPECT_EQ(secret.getEncryptedValue(), other.getEncryptedValue());
}

TEST(SecureStringTest, AVectorOfFifteenBytesGivesAnEmptyString) {
    EXPECT_TRUE(SecureString(Bytes(15, 'x')).empty());
    EXPECT_TRUE(SecureString(Bytes()).empty());
}

TEST(SecureStringTest, AVectorOfSixteenBytesIsNotEmptyButGivesNoText) {
    const SecureString secret(Bytes(16, 'x'));
    EXPECT_FALSE(secret.empty());
    EXPECT_EQ("", read(secret));
    EXPECT_EQ(Bytes(16, 'x'), secret.getEncryptedValue());
}

TEST(SecureStringTest, AVectorThatDoesNotDecryptLeavesTheReaderAsItWas) {
    Bytes value = secretOf("secret").getEncryptedValue();
    value.pop_back();
    SecureStringReader reader;
    secretOf("before").getUnsecureString(reader);
    SecureString(value).getUnsecureString(reader);
    EXPECT_STREQ("before", reader.c_str());
    SecureString().getUnsecureString(reader);
    EXPECT_STREQ("before", reader.c_str());
}

TEST(SecureStringTest, TheEncryptedFormOfAnEmptyTextGivesAnEmptyText) {
    ByteBlob iv;
    ByteBlob ciphertext;
    ASSERT_TRUE(internal::encryptText("", 0, iv, ciphertext));
    Bytes value(iv.data, iv.data + iv.size);
    value.insert(value.end(), ciphertext.data, ciphertext.data + ciphertext.size);
    SecureStringReader reader;
    secretOf("before").getUnsecureString(reader);
    SecureString(value).getUnsecureString(reader);
    EXPECT_STREQ("", reader.c_str());
}

TEST(SecureStringTest, TheSerialisedFormGivesAnEqualString) {
    const SecureString secret = secretOf(std::string("a\0b\xFF", 4));
    const std::string text = secret.serializeToBase64();
    EXPECT_EQ(std::string::npos, text.find('\n'));
    EXPECT_TRUE(secret == SecureString::createFromBase64(text));
    EXPECT_EQ(std::string("a\0b\xFF", 4), read(SecureString::createFromBase64(text)));
}

TEST(SecureStringTest, TextsThatAreNotBase64GiveAnEmptyString) {
    for (const char* text : {"", "=", "====", "!", "Zg", "Zg==\r\n", "Zg=="}) {
        EXPECT_TRUE(SecureString::createFromBase64(text).empty()) << text;
    }
}

TEST(SecureStringTest, DifferentTextsAreNotEqual) {
    EXPECT_FALSE(secretOf("secret") == secretOf("secreT"));
    EXPECT_TRUE(secretOf("secret") != secretOf("secrets"));
    EXPECT_FALSE(secretOf("secret") == SecureString());
    EXPECT_FALSE(SecureString() == secretOf("secret"));
    EXPECT_TRUE(SecureString() == SecureString("", 0));
}

TEST(SecureStringTest, BytesBehindAnEmbeddedNulDoNotCountInAComparison) {
    EXPECT_TRUE(secretOf(std::string("a\0b", 3)) == secretOf(std::string("a\0c", 3)));
    EXPECT_FALSE(secretOf(std::string("a\0b", 3)) == secretOf(std::string("a\0bc", 4)));
    EXPECT_FALSE(secretOf(std::string("b\0b", 3)) == secretOf(std::string("a\0b", 3)));
}

TEST(SecureStringTest, StringsOfOneValueAreEqual) {
    const SecureString secret = secretOf("secret");
    const SecureString copy = secret;
    EXPECT_TRUE(secret == copy);
    EXPECT_TRUE(secret == secret);
}

TEST(SecureStringTest, AFailingRandomSourceLeavesTheFillerAsInitialisationVector) {
    RAND_METHOD failing = {};
    failing.bytes = [](unsigned char*, int) { return 0; };
    failing.pseudorand = failing.bytes;
    failing.status = [] { return 0; };
    ASSERT_EQ(1, RAND_set_rand_method(&failing));
    const SecureString secret = secretOf("secret");
    RAND_set_rand_method(nullptr);

    const Bytes value = secret.getEncryptedValue();
    ASSERT_EQ(32U, value.size());
    EXPECT_EQ(Bytes(16, 0xFF), Bytes(value.begin(), value.begin() + 16));
    EXPECT_EQ("secret", read(secret));
}

TEST(SecureStringTest, TheKeyDoesNotStandInTheBinary) {
    const Key key;
    std::ifstream file("/proc/self/exe", std::ios::binary);
    const std::string binary{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    ASSERT_GT(binary.size(), 100'000U);
    constexpr std::size_t PART = 8;
    for (std::size_t at = 0; at < key.size; at += PART) {
        const std::boyer_moore_searcher part(key.data + at, key.data + at + PART);
        const auto* const begin = reinterpret_cast<const unsigned char*>(binary.data());
        EXPECT_EQ(begin + binary.size(), std::search(begin, begin + binary.size(), part)) << at;
    }
}

TEST(SecureStringTest, TheKeyIsTheSameEachTime) {
    const Key first;
    const Key second;
    EXPECT_TRUE(std::equal(first.data, first.data + first.size, second.data));
    EXPECT_GT(std::set<unsigned char>(first.data, first.data + first.size).size(), 16U);
}

TEST(SecureStringTest, OneValueIsReadByManyThreads) {
    const SecureString secret = secretOf("shared secret");
    const auto readOften = [secret] {
        for (int i = 0; i < 1000; ++i) {
            SecureStringReader reader;
            secret.getUnsecureString(reader);
            ASSERT_STREQ("shared secret", reader.c_str());
            ASSERT_TRUE(secret == secret);
        }
    };
    std::thread first(readOften);
    std::thread second(readOften);
    first.join();
    second.join();
}

// What is in the memory of the process, the freed parts and the stacks included.

class SecureStringInMemoryTest : public testing::Test {
protected:
    std::string plain() const {
        std::string text(secret_.size(), '\0');
        secret_.copyTo(text.data());
        return text;
    }

    SecureString planted() const {
        std::string text = plain();
        SecureString result(text);
        SecureStringUtils::ZEBZeroString(text);
        return result;
    }

    bool isPlanted(const SecureString& string) const {
        SecureStringReader reader;
        string.getUnsecureString(reader);
        return secret_.equals(reader.c_str(), reader.getBufSize());
    }

    const PlantedSecret secret_;
};

TEST_F(SecureStringInMemoryTest, TheScanFindsATextInClear) {
    std::string text = plain();
    EXPECT_EQ(1U, countInOwnMemory(secret_));
    SecureStringUtils::ZEBZeroString(text);
    EXPECT_EQ(0U, countInOwnMemory(secret_));
}

TEST_F(SecureStringInMemoryTest, AHeldSecretIsNowhereInClear) {
    const SecureString held = planted();
    const SecureString copy = held;
    EXPECT_EQ(0U, countInOwnMemory(secret_));
    EXPECT_TRUE(isPlanted(copy));
}

TEST_F(SecureStringInMemoryTest, ASecretIsInClearOnceWhileItIsReadAndNoMoreAfterwards) {
    const SecureString held = planted();
    {
        SecureStringReader reader;
        held.getUnsecureString(reader);
        EXPECT_EQ(1U, countInOwnMemory(secret_));
    }
    EXPECT_EQ(0U, countInOwnMemory(secret_));
}

// The other secret: with the key, all texts are in clear.
TEST_F(SecureStringInMemoryTest, TheKeyIsNowhereInClearButWhileItIsUsed) {
    Key clear;
    const PlantedSecret key(clear.data, clear.size);
    EXPECT_EQ(1U, countInOwnMemory(key));
    clear.destroyData();
    const SecureString held = planted();
    EXPECT_TRUE(isPlanted(held));
    EXPECT_EQ(0U, countInOwnMemory(key));
}

TEST_F(SecureStringInMemoryTest, AFailedDecryptionLeavesNothingInClear) {
    constexpr std::size_t BLOCK = 16;
    std::string text(secret_.size() + BLOCK, 'x');
    secret_.copyTo(text.data());
    Bytes value = SecureString(text).getEncryptedValue();
    SecureStringUtils::ZEBZeroString(text);
    value.resize(value.size() - BLOCK);  // without the padding: refused at the very end, behind the secret
    SecureStringReader reader;
    SecureString(value).getUnsecureString(reader);
    EXPECT_EQ(0U, reader.getBufSize());
    EXPECT_EQ(0U, countInOwnMemory(secret_));
}

TEST_F(SecureStringInMemoryTest, ComparingAndSerialisingLeaveNothingInClear) {
    const SecureString held = planted();
    const SecureString other = planted();
    EXPECT_TRUE(held == other);
    EXPECT_TRUE(held == SecureString::createFromBase64(held.serializeToBase64()));
    EXPECT_EQ(0U, countInOwnMemory(secret_));
}

TEST_F(SecureStringInMemoryTest, DiscreetEncodingAndDecodingLeaveNothingInClear) {
    std::string text = plain();
    const SecureString encoded = base64_discreet_encode(reinterpret_cast<const unsigned char*>(text.data()),
                                                        static_cast<unsigned int>(text.size()), true);
    SecureStringUtils::ZEBZeroString(text);
    SecureString decoded;
    EXPECT_EQ(0, base64_discreet_decode(encoded, decoded));
    EXPECT_EQ(0U, countInOwnMemory(secret_));
    EXPECT_TRUE(isPlanted(decoded));
}

// The other side: the encoded text, too, is in clear only inside the reader.
TEST_F(SecureStringInMemoryTest, DiscreetDecodingLeavesNothingOfTheEncodedTextInClear) {
    const SecureString encoded = planted();
    SecureString decoded;
    EXPECT_EQ(0, base64_discreet_decode(encoded, decoded));
    EXPECT_EQ(0U, countInOwnMemory(secret_));
}

}  // namespace
}  // namespace zeb::test

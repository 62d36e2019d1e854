#include "core/SecureString.h"

#include "core/Base64.h"
#include "core/SecureStringCipher.h"
#include "core/SecureStringData.h"
#include "core/SecureStringReader.h"
#include "core/SecureStringUtils.h"

#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace zeb {

namespace {

struct WipingDeleter {
    unsigned long size;

    void operator()(const char* text) const {
        SecureStringUtils::ZEBZeroMemory(text, size);
        delete[] text;
    }
};
using WipedText = std::unique_ptr<char[], WipingDeleter>;

}  // namespace

SecureString::SecureString() : data_(std::make_shared<SecureStringData>()) {}

SecureString::SecureString(const std::string& text) : SecureString(text.data(), text.size()) {}

SecureString::SecureString(const char* text, unsigned long length) : SecureString() {
    setValue(text, length);
}

SecureString::SecureString(const std::vector<unsigned char>& encryptedValue) : SecureString() {
    if (encryptedValue.size() < internal::SECURE_STRING_IV_SIZE) {
        return;
    }
    const unsigned long ciphertextSize = encryptedValue.size() - internal::SECURE_STRING_IV_SIZE;
    data_->iv.reallocateSize(internal::SECURE_STRING_IV_SIZE);
    data_->ciphertext.reallocateSize(ciphertextSize);
    if (data_->iv.data == nullptr || data_->ciphertext.size != ciphertextSize) {
        return;
    }
    std::memcpy(data_->iv.data, encryptedValue.data(), data_->iv.size);
    if (ciphertextSize > 0) {
        std::memcpy(data_->ciphertext.data, encryptedValue.data() + data_->iv.size, ciphertextSize);
    }
    data_->empty = false;
}

SecureString::SecureString(const SecureString& other) = default;

SecureString::SecureString(SecureString&& other) noexcept = default;

SecureString& SecureString::operator=(const SecureString& other) = default;

SecureString& SecureString::operator=(SecureString&& other) noexcept = default;

SecureString::~SecureString() = default;

SecureString SecureString::createFromBase64(const std::string& text) {
    std::vector<unsigned char> encryptedValue;
    if (base64_decode(text, encryptedValue) != 0) {
        return {};
    }
    return {encryptedValue};
}

void SecureString::setValue(const char* text, unsigned long length) {
    if (text == nullptr) {
        return;
    }
    if (!data_) {
        data_ = std::make_shared<SecureStringData>();  // moved from
    }
    data_->empty = length == 0;
    if (data_->empty) {
        // On purpose the ciphertext stays: emptying is the flag alone, and holders ask for it before they
        // read.
        return;
    }
    if (!internal::encryptText(text, length, data_->iv, data_->ciphertext)) {
        data_->empty = true;
        data_->ciphertext.reallocateSize(0);
    }
}

std::vector<unsigned char> SecureString::getEncryptedValue() const {
    std::vector<unsigned char> value;
    if (empty()) {
        return value;
    }
    const ByteBlob& iv = data_->iv;
    const ByteBlob& ciphertext = data_->ciphertext;
    value.reserve(iv.size + ciphertext.size);
    value.insert(value.end(), iv.data, iv.data + iv.size);
    value.insert(value.end(), ciphertext.data, ciphertext.data + ciphertext.size);
    return value;
}

void SecureString::getUnsecureString(SecureStringReader& reader) const {
    if (!data_ || data_->ciphertext.size == 0) {
        return;
    }
    // Straight into the buffer that the reader will own: the cleartext exists once.
    const unsigned long room = data_->ciphertext.size + internal::SECURE_STRING_CIPHER_RESERVE;
    WipedText text(new (std::nothrow) char[room], WipingDeleter{room});
    unsigned long length = 0;
    if (!text || !internal::decryptText(data_->iv, data_->ciphertext, text.get(), length)) {
        return;
    }
    text[length] = '\0';
    if (reader.setValue(text.get(), length)) {
        static_cast<void>(text.release());
    }
}

bool SecureString::empty() const {
    return !data_ || data_->empty;
}

std::string SecureString::serializeToBase64() const {
    const std::vector<unsigned char> value = getEncryptedValue();
    if (value.size() > std::numeric_limits<unsigned int>::max()) {
        return {};
    }
    return base64_encode(value.data(), static_cast<unsigned int>(value.size()), false);
}

bool operator==(const SecureString& left, const SecureString& right) {
    if (left.empty() || right.empty()) {
        return left.empty() == right.empty();
    }
    SecureStringReader leftReader;
    SecureStringReader rightReader;
    left.getUnsecureString(leftReader);
    right.getUnsecureString(rightReader);
    // As C strings, on purpose: the texts compared are credentials, and those who take them up stop at a NUL.
    return leftReader.getBufSize() == rightReader.getBufSize() &&
           std::strncmp(leftReader.c_str(), rightReader.c_str(), leftReader.getBufSize()) == 0;
}

bool operator!=(const SecureString& left, const SecureString& right) {
    return !(left == right);
}

}  // namespace zeb

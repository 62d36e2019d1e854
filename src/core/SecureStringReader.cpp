#include "core/SecureStringReader.h"

#include "core/SecureStringUtils.h"

namespace zeb {

struct SecureStringReaderData {
    SecureStringReaderData(const char* cleartext, unsigned long length) : text(cleartext), size(length) {}

    ~SecureStringReaderData() {
        SecureStringUtils::ZEBZeroMemory(text, size);
        delete[] text;
    }

    SecureStringReaderData(const SecureStringReaderData&) = delete;
    SecureStringReaderData& operator=(const SecureStringReaderData&) = delete;

    const char* text;
    unsigned long size;
};

SecureStringReader::SecureStringReader() = default;

SecureStringReader::SecureStringReader(char* text, unsigned long size) {
    setValue(text, size);
}

SecureStringReader::~SecureStringReader() = default;

bool SecureStringReader::setValue(const char* text, unsigned long size) {
    data_.reset();
    if (text == nullptr || size == 0) {
        return false;
    }
    data_ = std::make_unique<SecureStringReaderData>(text, size);
    return true;
}

const char* SecureStringReader::c_str() const {
    return data_ ? data_->text : "";
}

unsigned long SecureStringReader::getBufSize() const {
    return data_ ? data_->size : 0;
}

}  // namespace zeb

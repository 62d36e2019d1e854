#include "cert/utils/KeyStrengthParserImpl.h"

#include "cert/utils/OpenSslHandles.h"
#include "core/Log.h"

#include <openssl/evp.h>
#include <openssl/x509.h>

namespace zeb::cert {

KeyStrengthParserImpl::KeyStrengthParserImpl() = default;

int KeyStrengthParserImpl::parse(const x509_st* cert) {
    *this = KeyStrengthParserImpl();
    if (cert == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "Invalid cert passed in!");
        return CertKeyStrengthResult::INTERNAL_ERROR;
    }
    const OpenSslErrorScope errors;
    const OpenSslPtr<EVP_PKEY> key(X509_get_pubkey(const_cast<x509_st*>(cert)));  // as release 1.1 wants it
    if (key != nullptr) {
        publicKeyType_ = EVP_PKEY_id(key.get());
        keyBits_ = EVP_PKEY_bits(key.get());
    }
    parsed_ = true;
    ZEB_LOG_INFO(log::cert(), "The public key is of type " << publicKeyTypeToString(publicKeyType_)
                                                           << " with " << keyBits_ << " bits");
    return CertKeyStrengthResult::SUCCESS;
}

bool KeyStrengthParserImpl::parsed() const {
    return parsed_;
}

CertKeyStrengthResult::Result KeyStrengthParserImpl::verify(int minimumBits) const {
    if (!parsed_) {
        return CertKeyStrengthResult::INTERNAL_ERROR;
    }
    if (!isKeyStrengthCheckRequiredForType(publicKeyType_)) {
        ZEB_LOG_INFO(log::cert(),
                     "The check for the strength of the public key is not required as the key type is "
                     "sufficiently strong.");
        return CertKeyStrengthResult::SUCCESS;
    }
    return minimumBits > keyBits_ ? CertKeyStrengthResult::FAILURE : CertKeyStrengthResult::SUCCESS;
}

bool KeyStrengthParserImpl::isKeyStrengthCheckRequiredForType(int type) {
    return type != EVP_PKEY_EC;
}

const char* KeyStrengthParserImpl::publicKeyTypeToString(int type) {
    switch (type) {
        case EVP_PKEY_RSA:
            return "rsaEncryption";
        case EVP_PKEY_RSA2:
            return "rsa";
        case EVP_PKEY_DH:
            return "dhKeyAgreement";
        case EVP_PKEY_DSA2:
            return "dsaWithSHA";
        case EVP_PKEY_DSA1:
            return "dsaEncryption-old";
        case EVP_PKEY_DSA4:
            return "dsaWithSHA1-old";
        case EVP_PKEY_DSA3:
            return "dsaWithSHA1";
        case EVP_PKEY_DSA:
            return "dsaEncryption";
        case EVP_PKEY_EC:
            return "id-ecPublicKey";
        case EVP_PKEY_HMAC:
            return "hmac";
        case EVP_PKEY_CMAC:
            return "cmac";
        default:
            return "undefined";
    }
}

}  // namespace zeb::cert

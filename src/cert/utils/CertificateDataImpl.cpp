#include "cert/utils/CertificateDataImpl.h"

#include "cert/common/CertificateValidityCache.h"
#include "cert/utils/CertContainer.h"
#include "cert/utils/OpenSslHandles.h"
#include "core/Log.h"

#include <array>
#include <cstddef>
#include <utility>

#include <openssl/bio.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert {

namespace {

constexpr std::size_t BLOCK_SIZE = 4096;
constexpr int NOT_IMPLEMENTED = -2;  ///< by that kind of BIO

std::string readAll(BIO* bio) {
    std::string text;
    std::array<char, BLOCK_SIZE> block{};
    int count = BIO_read(bio, block.data(), static_cast<int>(block.size()));
    while (count >= 1) {
        text.append(block.data(), static_cast<std::size_t>(count));
        count = BIO_read(bio, block.data(), static_cast<int>(block.size()));
    }
    if (count == NOT_IMPLEMENTED) {
        ZEB_LOG_ERROR(log::cert(),
                      "Could not read from the BIO to convert X509 Certificate into PEM,operation is not "
                      "implemented in the specific BIO type");
        return {};
    }
    return text;
}

std::string pemOf(const x509_st* cert) {
    const OpenSslPtr<BIO> bio(BIO_new(BIO_s_mem()));
    // Before release 3 it takes a pointer to what is not const.
    if (bio == nullptr || PEM_write_bio_X509(bio.get(), const_cast<x509_st*>(cert)) == 0) {
        ZEB_LOG_ERROR(log::cert(), "Could not write on the BIO to convert X509 Certificate into PEM");
        return {};
    }
    return readAll(bio.get());
}

std::string commonNameOf(const x509_st* cert) {
    X509_NAME* const subject = X509_get_subject_name(cert);
    const int length =
        subject != nullptr ? X509_NAME_get_text_by_NID(subject, NID_commonName, nullptr, 0) : -1;
    if (length <= 0) {
        return {};
    }
    std::string text(static_cast<std::size_t>(length) + 1, '\0');  // OpenSSL ends it with a NUL
    X509_NAME_get_text_by_NID(subject, NID_commonName, text.data(), length + 1);
    text.pop_back();
    return text;
}

}  // namespace

CertificateDataImpl::CertificateDataImpl(std::string fingerprint, std::vector<std::string> pem,
                                         std::string commonName)
    : fingerprint_(std::move(fingerprint)), commonName_(std::move(commonName)), pem_(std::move(pem)) {}

CertificateDataImpl::CertificateDataImpl(const std::shared_ptr<CertContainer>& certContainer) {
    if (certContainer == nullptr || !certContainer->isValid()) {
        ZEB_LOG_WARNING(log::cert(), "The provided CertContainer doesn't contain a valid certificate");
    } else if (certContainer->isLeafCert()) {
        readCertificate(certContainer->getLeafCert());
    } else {
        readChain(certContainer->getCertChain());
    }
}

CertificateDataImpl::CertificateDataImpl(const x509_st* cert) {
    readCertificate(cert);
}

CertificateDataImpl::CertificateDataImpl(const x509_store_ctx_st* certChain) {
    readChain(certChain);
}

std::string CertificateDataImpl::getFingerprint() const {
    return fingerprint_;
}

std::vector<std::string> CertificateDataImpl::getPem() const {
    return pem_;
}

std::string CertificateDataImpl::getCommonName() const {
    return commonName_;
}

void CertificateDataImpl::readChain(const x509_store_ctx_st* certChain) {
    if (certChain == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "The provided X509_STORE_CTX pointer is NULL");
        return;
    }
    auto* const context = const_cast<x509_store_ctx_st*>(certChain);  // as release 1.1 wants it
    if (!readCertificate(X509_STORE_CTX_get0_cert(context))) {
        return;
    }
    const OpenSslErrorScope errors;
    const STACK_OF(X509)* const untrusted = X509_STORE_CTX_get0_untrusted(context);
    for (int index = 0; index < sk_X509_num(untrusted); ++index) {
        const X509* const cert = sk_X509_value(untrusted, index);
        if (cert == nullptr) {
            ZEB_LOG_ERROR(log::cert(), "Certificate at index " << index << " is NULL in cert chain");
            return;
        }
        pem_.push_back(pemOf(cert));
    }
}

bool CertificateDataImpl::readCertificate(const x509_st* cert) {
    if (cert == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "The provided X509 pointer is NULL");
        return false;
    }
    const OpenSslErrorScope errors;
    fingerprint_ = CertificateValidityCache::generateFingerprint(cert);
    commonName_ = commonNameOf(cert);
    pem_.push_back(pemOf(cert));
    return true;
}

}  // namespace zeb::cert

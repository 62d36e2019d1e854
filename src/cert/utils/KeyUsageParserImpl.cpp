#include "cert/utils/KeyUsageParserImpl.h"

#include "cert/utils/OpenSslHandles.h"
#include "core/Log.h"

#include <sstream>
#include <string>

#include <openssl/objects.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace zeb::cert {

namespace {

template <typename Usages>
std::string printed(unsigned long mask) {
    std::ostringstream stream;
    Usages::print(stream, mask);
    return stream.str();
}

bool holds(unsigned long mask, int usage) {
    const auto bits = static_cast<unsigned long>(usage);
    return bits != 0 && (mask & bits) == bits;
}

}  // namespace

KeyUsageParserImpl::KeyUsageParserImpl() = default;

int KeyUsageParserImpl::parse(const x509_st* cert) {
    *this = KeyUsageParserImpl();
    if (cert == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "Invalid cert passed in!");
        return CertKeyUsageResult::INTERNAL_ERROR;
    }
    const OpenSslErrorScope errors;
    parsed_ = true;
    parseBasicKeyUsage(cert);
    parseExtendedKeyUsage(cert);
    ZEB_LOG_INFO(log::cert(), "Basic Key Usage in cert: " << printed<BasicKeyUsage>(basicKeyUsage_)
                                                          << ", Extended Key Usage in cert: "
                                                          << printed<ExtendedKeyUsage>(extendedKeyUsage_));
    return CertKeyUsageResult::SUCCESS;
}

bool KeyUsageParserImpl::parsed() const {
    return parsed_;
}

CertKeyUsageResult::Result KeyUsageParserImpl::verifyBasicKeyUsage(
    const std::vector<BasicKeyUsage::Usage>& usages) const {
    if (!parsed_) {
        return CertKeyUsageResult::INTERNAL_ERROR;
    }
    for (const BasicKeyUsage::Usage usage : usages) {
        if (!holds(basicKeyUsage_, usage)) {
            ZEB_LOG_INFO(log::cert(), "No matching key usage found in cert for: " << usage);
            return CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND;
        }
    }
    return CertKeyUsageResult::SUCCESS;
}

CertKeyUsageResult::Result KeyUsageParserImpl::verifyExtendedKeyUsage(
    const std::vector<ExtendedKeyUsage::Usage>& usages) const {
    if (!parsed_) {
        return CertKeyUsageResult::INTERNAL_ERROR;
    }
    for (const ExtendedKeyUsage::Usage usage : usages) {
        if (!holds(extendedKeyUsage_, usage)) {
            ZEB_LOG_INFO(log::cert(), "No matching extended key usage found in cert for: " << usage);
            return CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND;
        }
    }
    return CertKeyUsageResult::SUCCESS;
}

bool KeyUsageParserImpl::hasBasicKeyUsage() const {
    return parsed_ && basicKeyUsage_ != 0;
}

bool KeyUsageParserImpl::hasExtendedKeyUsage() const {
    return parsed_ && !noExtendedUsage_;
}

bool KeyUsageParserImpl::isAnyExtendedKeyUsageSet() const {
    return parsed_ && anyExtendedUsage_;
}

void KeyUsageParserImpl::parseBasicKeyUsage(const x509_st* cert) {
    auto* const writable = const_cast<x509_st*>(cert);  // OpenSSL caches the extensions within it
    X509_check_purpose(writable, -1, 0);
    basicKeyUsage_ = BasicKeyUsage::fromX509KeyUsage(X509_get_key_usage(writable));
}

void KeyUsageParserImpl::parseExtendedKeyUsage(const x509_st* cert) {
    const OpenSslPtr<EXTENDED_KEY_USAGE> purposes(
        static_cast<EXTENDED_KEY_USAGE*>(X509_get_ext_d2i(cert, NID_ext_key_usage, nullptr, nullptr)));
    for (int index = 0; index < sk_ASN1_OBJECT_num(purposes.get()); ++index) {
        noExtendedUsage_ = false;
        const int nid = OBJ_obj2nid(sk_ASN1_OBJECT_value(purposes.get(), index));
        extendedKeyUsage_ |= ExtendedKeyUsage::fromNid(nid);
        anyExtendedUsage_ = anyExtendedUsage_ || nid == NID_anyExtendedKeyUsage;
    }
}

}  // namespace zeb::cert

#pragma once

#include "support/CertificateBuilder.h"

#include <memory>
#include <string>

#include <openssl/asn1.h>
#include <openssl/x509.h>

// Certificates with one thing in them that the fuzzer chose. They are copies of one, whose signature doesn't
// fit them: nobody looks at it here, and signing takes long.

using FuzzedCertificate = std::unique_ptr<X509, decltype(&X509_free)>;

inline FuzzedCertificate copyOf(const zeb::test::IssuedCertificate& certificate) {
    return {X509_dup(certificate.get()), &X509_free};
}

inline FuzzedCertificate withExtension(int nid, const std::string& value) {
    static const zeb::test::IssuedCertificate plain =
        zeb::test::CertificateBuilder().commonName("cn.test").build();
    FuzzedCertificate certificate = copyOf(plain);
    const std::unique_ptr<ASN1_OCTET_STRING, decltype(&ASN1_OCTET_STRING_free)> bytes(
        ASN1_OCTET_STRING_new(), &ASN1_OCTET_STRING_free);
    ASN1_OCTET_STRING_set(bytes.get(), reinterpret_cast<const unsigned char*>(value.data()),
                          static_cast<int>(value.size()));
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> extension(
        X509_EXTENSION_create_by_NID(nullptr, nid, 0, bytes.get()), &X509_EXTENSION_free);
    X509_add_ext(certificate.get(), extension.get(), -1);
    return certificate;
}

inline FuzzedCertificate withCommonName(int stringType, const std::string& bytes) {
    static const zeb::test::IssuedCertificate nameless = zeb::test::CertificateBuilder().build();
    FuzzedCertificate certificate = copyOf(nameless);
    X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate.get()), NID_commonName, stringType,
                               reinterpret_cast<const unsigned char*>(bytes.data()),
                               static_cast<int>(bytes.size()), -1, 0);
    return certificate;
}

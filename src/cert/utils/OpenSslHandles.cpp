#include "cert/utils/OpenSslHandles.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace zeb::cert {

void OpenSslRelease::operator()(bio_st* bio) const {
    BIO_free(bio);
}

void OpenSslRelease::operator()(evp_pkey_st* key) const {
    EVP_PKEY_free(key);
}

void OpenSslRelease::operator()(stack_st_ASN1_OBJECT* objects) const {
    sk_ASN1_OBJECT_pop_free(objects, ASN1_OBJECT_free);
}

void OpenSslRelease::operator()(stack_st_GENERAL_NAME* names) const {
    GENERAL_NAMES_free(names);
}

void OpenSslRelease::operator()(x509_st* certificate) const {
    X509_free(certificate);
}

OpenSslErrorScope::OpenSslErrorScope() {
    ERR_set_mark();
}

OpenSslErrorScope::~OpenSslErrorScope() {
    ERR_pop_to_mark();
}

}  // namespace zeb::cert

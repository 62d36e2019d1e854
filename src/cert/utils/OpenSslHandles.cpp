#include "cert/utils/OpenSslHandles.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
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

void OpenSslRelease::operator()(stack_st_X509_INFO* entries) const {
    sk_X509_INFO_pop_free(entries, X509_INFO_free);
}

void OpenSslRelease::operator()(x509_st* certificate) const {
    X509_free(certificate);
}

void OpenSslRelease::operator()(x509_store_ctx_st* context) const {
    X509_STORE_CTX_cleanup(context);
    X509_STORE_CTX_free(context);
}

OpenSslErrorScope::OpenSslErrorScope() {
    ERR_set_mark();
}

OpenSslErrorScope::~OpenSslErrorScope() {
    ERR_pop_to_mark();
}

}  // namespace zeb::cert

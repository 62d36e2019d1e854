#include "unit/cert/utils/OpenSslSeam.h"

#include <optional>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace zeb::test {

namespace {

thread_local std::optional<OpenSslCall> failing;
thread_local void* decoded = nullptr;

constexpr int NOT_IMPLEMENTED = -2;

/// What fails leaves an entry in the error queue, as OpenSSL's own failures do.
bool fails(OpenSslCall call) {
    if (failing != call) {
        return false;
    }
    ERR_put_error(ERR_LIB_BIO, 0, ERR_R_MALLOC_FAILURE, __FILE__, __LINE__);
    return true;
}

}  // namespace

FailingOpenSslCall::FailingOpenSslCall(OpenSslCall call) {
    failing = call;
}

FailingOpenSslCall::~FailingOpenSslCall() {
    failing.reset();
}

DecodedExtension::DecodedExtension(void* object) {
    decoded = object;
}

DecodedExtension::~DecodedExtension() {
    decoded = nullptr;
}

extern "C" {

BIO* __real_BIO_new(const BIO_METHOD* type);
BIO* __wrap_BIO_new(const BIO_METHOD* type) {
    return fails(OpenSslCall::BIO_NEW) ? nullptr : __real_BIO_new(type);
}

int __real_BIO_read(BIO* bio, void* data, int length);
int __wrap_BIO_read(BIO* bio, void* data, int length) {
    const int count = __real_BIO_read(bio, data, length);
    return fails(OpenSslCall::BIO_READ) && count < 1 ? NOT_IMPLEMENTED : count;
}

int __real_PEM_write_bio_X509(BIO* bio, X509* certificate);
int __wrap_PEM_write_bio_X509(BIO* bio, X509* certificate) {
    return fails(OpenSslCall::PEM_WRITE) ? 0 : __real_PEM_write_bio_X509(bio, certificate);
}

X509_EXTENSION* __real_X509_get_ext(const X509* certificate, int place);
X509_EXTENSION* __wrap_X509_get_ext(const X509* certificate, int place) {
    return fails(OpenSslCall::GET_EXTENSION) ? nullptr : __real_X509_get_ext(certificate, place);
}

const X509V3_EXT_METHOD* __real_X509V3_EXT_get(X509_EXTENSION* extension);
const X509V3_EXT_METHOD* __wrap_X509V3_EXT_get(X509_EXTENSION* extension) {
    return fails(OpenSslCall::GET_EXTENSION_METHOD) ? nullptr : __real_X509V3_EXT_get(extension);
}

X509_NAME* __real_X509_get_subject_name(const X509* certificate);
X509_NAME* __wrap_X509_get_subject_name(const X509* certificate) {
    return fails(OpenSslCall::GET_SUBJECT) ? nullptr : __real_X509_get_subject_name(certificate);
}

void* __real_X509_get_ext_d2i(const X509* certificate, int nid, int* critical, int* place);
void* __wrap_X509_get_ext_d2i(const X509* certificate, int nid, int* critical, int* place) {
    if (decoded == nullptr) {
        return __real_X509_get_ext_d2i(certificate, nid, critical, place);
    }
    void* const object = decoded;
    decoded = nullptr;
    return object;
}
}

}  // namespace zeb::test

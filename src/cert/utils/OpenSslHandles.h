#pragma once

#include <memory>

struct bio_st;
struct evp_pkey_st;
struct stack_st_ASN1_OBJECT;
struct stack_st_GENERAL_NAME;
struct stack_st_X509_INFO;
struct x509_st;
struct x509_store_ctx_st;

namespace zeb::cert {

struct OpenSslRelease {
    void operator()(bio_st* bio) const;
    void operator()(evp_pkey_st* key) const;
    void operator()(stack_st_ASN1_OBJECT* objects) const;
    void operator()(stack_st_GENERAL_NAME* names) const;
    void operator()(stack_st_X509_INFO* entries) const;
    void operator()(x509_st* certificate) const;
    void operator()(x509_store_ctx_st* context) const;
};

template <typename T>
using OpenSslPtr = std::unique_ptr<T, OpenSslRelease>;

/// What OpenSSL puts into the thread's error queue while this lives is taken out again. Certificates are read
/// in the middle of handshakes, where SSL_get_error() takes any left-over error for one of the connection's.
class OpenSslErrorScope {
public:
    OpenSslErrorScope();
    ~OpenSslErrorScope();
    OpenSslErrorScope(const OpenSslErrorScope&) = delete;
    OpenSslErrorScope& operator=(const OpenSslErrorScope&) = delete;
};

}  // namespace zeb::cert

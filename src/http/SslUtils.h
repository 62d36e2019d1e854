#pragma once

struct x509_store_ctx_st;

namespace zeb::http {

struct SSLData;

/// The judge of every TLS handshake: takes the place of OpenSSL's own verification of the chain.
class SslUtils {
public:
    /// For SSL_CTX_set_cert_verify_callback: 1 accepts, 0 refuses. `sslData` is the request's SSLData. May
    /// block while a user is asked.
    static int verifyCb(x509_store_ctx_st* storeCtx, void* sslData);
    /// Any one of the reference identifiers and the server's names will do. Each call adds the server's names
    /// to the reference identifiers.
    static bool softIdentityMatch(SSLData* sslData, x509_store_ctx_st* storeCtx);
    /// The server's own name must match.
    static bool strictIdentityMatch(SSLData* sslData, x509_store_ctx_st* storeCtx);
};

}  // namespace zeb::http

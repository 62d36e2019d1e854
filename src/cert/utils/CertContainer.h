#pragma once

#include "core/Export.h"

struct x509_st;
struct x509_store_ctx_st;

namespace zeb::cert {

/// Hides whether a certificate arrived by itself or with the chain of a handshake. Owns neither: the caller
/// keeps them alive for the call.
class ZEBNETUTILS_EXPORT CertContainer {
public:
    virtual ~CertContainer();

    virtual bool isValid() const = 0;
    /// The certificate of the server; null when there is none.
    virtual x509_st* getLeafCert() const = 0;
    /// True for a certificate by itself.
    virtual bool isLeafCert() const = 0;
    virtual bool hasValidLeafCert() const = 0;
    /// The handshake's store context; null for a certificate by itself.
    virtual x509_store_ctx_st* getCertChain() const = 0;
};

}  // namespace zeb::cert

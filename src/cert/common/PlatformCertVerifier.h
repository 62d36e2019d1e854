#pragma once

#include "cert/common/CertStatus.h"
#include "core/Export.h"

#include <memory>
#include <set>

struct x509_st;
struct x509_store_ctx_st;

namespace zeb::cert {

/// The trust store of the system: does a chain lead from this certificate to a root that is trusted here?
/// Names, usage and strength are the business of the verifier that asks. Any thread may call, several at
/// once.
class ZEBNETUTILS_EXPORT PlatformCertVerifier {
public:
    virtual ~PlatformCertVerifier();

    /// A certificate by itself: a root of the store must have signed it. Null is never trusted. Doesn't
    /// throw.
    virtual std::set<CertStatus::Status> verifyCertificate(const x509_st* certificate) = 0;
    /// The certificate of a handshake with the chain that the server sent. Null is never trusted. Doesn't
    /// throw.
    virtual std::set<CertStatus::Status> verifyCertificate(const x509_store_ctx_st* chain) = 0;

    /// The one of the platform that this library was built for. Never null.
    static std::shared_ptr<PlatformCertVerifier> createInstance();
};

}  // namespace zeb::cert

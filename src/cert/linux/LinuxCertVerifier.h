#pragma once

#include "cert/common/PlatformCertVerifier.h"
#include "cert/linux/TrustStoreCache.h"

#include <set>
#include <string>

namespace zeb::cert {

/// Asks OpenSSL whether a chain leads to a root of the system's bundle: /etc/ssl/certs/ca-certificates.crt,
/// or where there is none /etc/ssl/certs/ca-bundle.crt. No other place counts, neither OpenSSL's own
/// directories nor an environment variable.
///
/// The answer is {VALID} or {UNKNOWN}, never a finer reason; OpenSSL's number of it stands in the log. A
/// missing bundle is no error of its own: then nothing is trusted. Nothing is asked about revocation, and
/// what a certificate may be used for is not judged here (RFC 5280 6.1 in OpenSSL's default form, without a
/// purpose). Keys and signatures are held to the security level of the handshake that the chain comes from,
/// as by OpenSSL's own verification, in whose place this one stands: at the level 2 of most systems a key of
/// 1024 bits or a SHA-1 signature isn't trusted. A certificate by itself is held to none.
///
/// A bundle that changed counts from the very next call on, without a restart; as long as it is the same
/// file, all verifications of the process share the store that was made of it (TrustStoreCache).
///
/// Any thread may call, several at once. A call reads files. It leaves no entry of its own in the thread's
/// OpenSSL error queue, so it may run within a handshake.
class LinuxCertVerifier : public PlatformCertVerifier {
public:
    ~LinuxCertVerifier() override;

    std::set<CertStatus::Status> verifyCertificate(const x509_st* certificate) override;
    std::set<CertStatus::Status> verifyCertificate(const x509_store_ctx_st* chain) override;

    /// Where the trusted certificates come from.
    struct TrustSource {
        std::string directory;  ///< ends in a slash
        TrustStoreCache cache;
    };
    /// For tests: takes this source in place of the system's, for all verifiers; null brings the system's
    /// back. It must stay until then, and for as long as a verification runs.
    static void setTrustSourceForTests(TrustSource* source);
};

}  // namespace zeb::cert

#pragma once

#include "core/Export.h"

namespace zeb::cert {

/// How a host makes this process forget decisions about certificates, on a user's sign-out say.
/// Requests that begin afterwards get no connection that was opened before. Any thread.
class ZEBNETUTILS_EXPORT CertCacheInterface {
public:
    CertCacheInterface() = delete;

    /// Forgets all decisions, acceptances and rejections.
    static void clearInvalidCertificateCache();
    /// Forgets acceptances; what was rejected stays rejected.
    static void clearAcceptedInvalidCerts();
};

}  // namespace zeb::cert

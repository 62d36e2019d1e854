#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb::cert {

class CertVerifier;
class XmppCertVerifier;

/// Where verifiers come from. Any thread may call.
class ZEBNETUTILS_EXPORT CertVerifierFactory {
public:
    CertVerifierFactory() = delete;

    /// The one of setCertVerifier; otherwise a new one over the platform's trust store. Never null.
    static std::shared_ptr<CertVerifier> createCertVerifier();
    /// Always a new one: what setCertVerifier set is for createCertVerifier alone.
    static std::shared_ptr<XmppCertVerifier> createXmppCertVerifier();
    /// From now on createCertVerifier returns this one, every time. Null ends that.
    static void setCertVerifier(std::shared_ptr<CertVerifier> certVerifier);
};

}  // namespace zeb::cert

#include "cert/common/CertVerifierFactory.h"

#include "cert/common/CertVerifier.h"
#include "cert/common/PlatformCertVerifier.h"
#include "cert/common/XmppCertVerifier.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"
#include "version/Version.h"

#include <utility>

namespace zeb::cert {

namespace {

/// Never destroyed: clients may be made while the process ends.
struct Override {
    Mutex mutex;  ///< guards certVerifier
    std::shared_ptr<CertVerifier> certVerifier;
};

Override& override() {
    static auto& instance = *new Override;
    return instance;
}

}  // namespace

std::shared_ptr<CertVerifier> CertVerifierFactory::createCertVerifier() {
    version::Version::printVersion();
    {
        const ScopedLock lock(override().mutex);
        if (override().certVerifier != nullptr) {
            return override().certVerifier;
        }
    }
    return std::make_shared<CertVerifier>(PlatformCertVerifier::createInstance());
}

std::shared_ptr<XmppCertVerifier> CertVerifierFactory::createXmppCertVerifier() {
    return std::make_shared<XmppCertVerifier>(PlatformCertVerifier::createInstance());
}

void CertVerifierFactory::setCertVerifier(std::shared_ptr<CertVerifier> certVerifier) {
    // Swapped, so that the former one goes after the lock has.
    const ScopedLock lock(override().mutex);
    override().certVerifier.swap(certVerifier);
}

}  // namespace zeb::cert

#include "cert/common/PlatformCertVerifier.h"

#include "cert/linux/LinuxCertVerifier.h"

namespace zeb::cert {

PlatformCertVerifier::~PlatformCertVerifier() = default;

std::shared_ptr<PlatformCertVerifier> PlatformCertVerifier::createInstance() {
    return std::make_shared<LinuxCertVerifier>();
}

}  // namespace zeb::cert

#include "cert/common/CertificateVerificationListener.h"

namespace zeb::cert {

CertificateVerificationListener::~CertificateVerificationListener() = default;

}  // namespace zeb::cert

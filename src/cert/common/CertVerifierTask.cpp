#include "cert/common/CertVerifierTask.h"

namespace zeb::cert {

CertVerifierTask::~CertVerifierTask() = default;

}  // namespace zeb::cert

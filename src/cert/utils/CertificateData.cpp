#include "cert/utils/CertificateData.h"

namespace zeb::cert {

CertificateData::~CertificateData() = default;

}  // namespace zeb::cert

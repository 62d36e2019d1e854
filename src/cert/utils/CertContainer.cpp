#include "cert/utils/CertContainer.h"

namespace zeb::cert {

CertContainer::~CertContainer() = default;

}  // namespace zeb::cert

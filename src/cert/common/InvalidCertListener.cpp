#include "cert/common/InvalidCertListener.h"

namespace zeb::cert {

InvalidCertListener::~InvalidCertListener() = default;

}  // namespace zeb::cert

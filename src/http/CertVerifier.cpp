#include "http/CertVerifier.h"

namespace zeb::http {

CertVerifier::~CertVerifier() = default;

}  // namespace zeb::http

#include "http/ProxyAuthenticationCallback.h"

namespace zeb::http {

ProxyAuthenticationCallback::~ProxyAuthenticationCallback() = default;

}  // namespace zeb::http

#include "netutils/NetworkEventCallback.h"

namespace zeb::netutils {

NetworkEventCallback::~NetworkEventCallback() = default;

}  // namespace zeb::netutils

#include "netutils/NetworkEventReporter.h"

namespace zeb::netutils {

NetworkEventReporter::~NetworkEventReporter() = default;

}  // namespace zeb::netutils

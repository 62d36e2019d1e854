#include "http/HttpNetworkEventReporter.h"

namespace zeb::http {

HttpNetworkEventReporter::~HttpNetworkEventReporter() = default;

}  // namespace zeb::http

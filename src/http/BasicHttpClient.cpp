#include "http/BasicHttpClient.h"

namespace zeb::http {

BasicHttpClient::~BasicHttpClient() = default;

}  // namespace zeb::http

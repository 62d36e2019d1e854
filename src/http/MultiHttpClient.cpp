#include "http/MultiHttpClient.h"

namespace zeb::http {

MultiHttpClient::~MultiHttpClient() = default;

}  // namespace zeb::http

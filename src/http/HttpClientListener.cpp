#include "http/HttpClientListener.h"

namespace zeb::http {

HttpClientListener::~HttpClientListener() = default;

}  // namespace zeb::http

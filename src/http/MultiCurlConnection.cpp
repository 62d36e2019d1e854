#include "http/MultiCurlConnection.h"

#include <curl/curl.h>

namespace zeb::http {

MultiCurlConnection::MultiCurlConnection() : handle_(curl_multi_init()) {
    if (handle_ != nullptr) {
        curl_multi_setopt(handle_, CURLMOPT_PIPELINING, 1L);
    }
}

MultiCurlConnection::~MultiCurlConnection() {
    curl_multi_cleanup(handle_);
}

}  // namespace zeb::http

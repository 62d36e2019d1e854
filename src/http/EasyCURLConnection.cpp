#include "http/EasyCURLConnection.h"

#include <curl/curl.h>

namespace zeb::http {

static_assert(CURL_ERROR_SIZE == 256, "the error buffer has libcurl's size");

EasyCURLConnection::EasyCURLConnection() : handle_(curl_easy_init()) {
    if (handle_ != nullptr) {
        curl_easy_setopt(handle_, CURLOPT_ERRORBUFFER, errorBuffer_.data());
    }
}

EasyCURLConnection::~EasyCURLConnection() {
    curl_easy_cleanup(handle_);
}

}  // namespace zeb::http

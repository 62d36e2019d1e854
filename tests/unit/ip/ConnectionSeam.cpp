#include "unit/ip/ConnectionSeam.h"

#include <curl/curl.h>

namespace zeb::ip::test {
namespace {

ConnectionSeam* current = nullptr;

}  // namespace

ConnectionSeam::ConnectionSeam() {
    current = this;
}

ConnectionSeam::~ConnectionSeam() {
    current = nullptr;
}

}  // namespace zeb::ip::test

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's names
using zeb::ip::test::current;

extern "C" {

CURL* __real_curl_easy_init();
CURL* __wrap_curl_easy_init();
CURLcode __real_curl_easy_perform(CURL* handle);
CURLcode __wrap_curl_easy_perform(CURL* handle);

CURL* __wrap_curl_easy_init() {
    if (current != nullptr) {
        ++current->handles;
        if (current->noHandles) {
            return nullptr;
        }
    }
    return __real_curl_easy_init();
}

CURLcode __wrap_curl_easy_perform(CURL* handle) {
    if (current != nullptr && current->performing) {
        return static_cast<CURLcode>(*current->performing);
    }
    return __real_curl_easy_perform(handle);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

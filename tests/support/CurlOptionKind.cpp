#include <curl/curl.h>

namespace zeb::test {

bool takesText(int option);

/// True for an option whose argument is a text that libcurl copies.
bool takesText(int option) {
    const curl_easyoption* const known = curl_easy_option_by_id(static_cast<CURLoption>(option));
    return known != nullptr && known->type == CURLOT_STRING;
}

}  // namespace zeb::test

// The form interface is deprecated; the library uses it all the same.
#define CURL_DISABLE_DEPRECATION

#include "unit/http/CurlSeam.h"

#include <cstdarg>
#include <cstring>
#include <map>
#include <optional>

#include <curl/curl.h>

namespace zeb::http::test {
namespace {

thread_local std::optional<std::size_t> appendsUntilFailure;
thread_local std::map<const char*, std::size_t>* appendedLengths = nullptr;
thread_local std::vector<std::string>* freedEntries = nullptr;
thread_local bool noHandles = false;
thread_local bool noEffectiveUrl = false;
thread_local int failingInfo = CURLINFO_NONE;
thread_local bool noFormParts = false;
thread_local std::vector<std::pair<int, long>>* multiNumbers = nullptr;

}  // namespace

FailingSlistAppend::FailingSlistAppend(std::size_t number) {
    appendsUntilFailure = number;
}

FailingSlistAppend::~FailingSlistAppend() {
    appendsUntilFailure.reset();
}

FreedSlists::FreedSlists() {
    appendedLengths = new std::map<const char*, std::size_t>;
    freedEntries = new std::vector<std::string>;
}

FreedSlists::~FreedSlists() {
    delete appendedLengths;
    appendedLengths = nullptr;
    delete freedEntries;
    freedEntries = nullptr;
}

std::vector<std::string> FreedSlists::entries() const {
    return *freedEntries;
}

NoCurlHandles::NoCurlHandles() {
    noHandles = true;
}

NoCurlHandles::~NoCurlHandles() {
    noHandles = false;
}

NoEffectiveUrl::NoEffectiveUrl() {
    noEffectiveUrl = true;
}

NoEffectiveUrl::~NoEffectiveUrl() {
    noEffectiveUrl = false;
}

FailingInfo::FailingInfo(int info) {
    failingInfo = info;
}

FailingInfo::~FailingInfo() {
    failingInfo = CURLINFO_NONE;
}

NoFormParts::NoFormParts() {
    noFormParts = true;
}

NoFormParts::~NoFormParts() {
    noFormParts = false;
}

MultiOptions::MultiOptions() {
    multiNumbers = new std::vector<std::pair<int, long>>;
}

MultiOptions::~MultiOptions() {
    delete multiNumbers;
    multiNumbers = nullptr;
}

std::vector<std::pair<int, long>> MultiOptions::numbers() const {
    return *multiNumbers;
}

}  // namespace zeb::http::test

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp): the linker's names
using namespace zeb::http::test;

extern "C" {

curl_slist* __real_curl_slist_append(curl_slist* list, const char* text);
curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* text);
void __real_curl_slist_free_all(curl_slist* list);
void __wrap_curl_slist_free_all(curl_slist* list);
CURLcode __real_curl_easy_getinfo(CURL* handle, CURLINFO info, ...);
CURLcode __wrap_curl_easy_getinfo(CURL* handle, CURLINFO info, ...);
CURLFORMcode __real_curl_formadd(curl_httppost** first, curl_httppost** last, ...);
CURLFORMcode __wrap_curl_formadd(curl_httppost** first, curl_httppost** last, ...);
CURL* __real_curl_easy_init();
CURL* __wrap_curl_easy_init();
CURLM* __real_curl_multi_init();
CURLM* __wrap_curl_multi_init();
CURLMcode __real_curl_multi_setopt(CURLM* multi, CURLMoption option, ...);
CURLMcode __wrap_curl_multi_setopt(CURLM* multi, CURLMoption option, ...);

curl_slist* __wrap_curl_slist_append(curl_slist* list, const char* text) {
    if (appendsUntilFailure && (*appendsUntilFailure)-- == 0) {
        appendsUntilFailure.reset();
        return nullptr;
    }
    curl_slist* const result = __real_curl_slist_append(list, text);
    if (appendedLengths != nullptr && result != nullptr) {
        const curl_slist* last = result;
        while (last->next != nullptr) {
            last = last->next;
        }
        (*appendedLengths)[last->data] = std::strlen(text);
    }
    return result;
}

void __wrap_curl_slist_free_all(curl_slist* list) {
    if (freedEntries != nullptr) {
        for (const curl_slist* entry = list; entry != nullptr; entry = entry->next) {
            const auto known = appendedLengths->find(entry->data);
            if (known != appendedLengths->end()) {
                freedEntries->emplace_back(entry->data, known->second);
                appendedLengths->erase(known);
            }
        }
    }
    __real_curl_slist_free_all(list);
}

CURLcode __wrap_curl_easy_getinfo(CURL* handle, CURLINFO info, ...) {
    va_list arguments;
    va_start(arguments, info);
    void* const answer = va_arg(arguments, void*);  // whatever it points to
    va_end(arguments);
    if (noEffectiveUrl && info == CURLINFO_EFFECTIVE_URL) {
        *static_cast<const char**>(answer) = nullptr;
        return CURLE_OK;
    }
    if (failingInfo != CURLINFO_NONE && static_cast<int>(info) == failingInfo) {
        return CURLE_BAD_FUNCTION_ARGUMENT;
    }
    return __real_curl_easy_getinfo(handle, info, answer);
}

CURLFORMcode __wrap_curl_formadd(curl_httppost** first, curl_httppost** last, ...) {
    if (noFormParts) {
        return CURL_FORMADD_MEMORY;
    }
    // Each option but the last has one value of a pointer's size. libcurl takes all of them as an array, too.
    std::vector<curl_forms> options;
    va_list arguments;
    va_start(arguments, last);
    for (int option = va_arg(arguments, int); option != CURLFORM_END; option = va_arg(arguments, int)) {
        options.push_back({static_cast<CURLformoption>(option), va_arg(arguments, const char*)});
    }
    va_end(arguments);
    options.push_back({CURLFORM_END, nullptr});
    return __real_curl_formadd(first, last, CURLFORM_ARRAY, options.data(), CURLFORM_END);
}

CURL* __wrap_curl_easy_init() {
    return noHandles ? nullptr : __real_curl_easy_init();
}

CURLM* __wrap_curl_multi_init() {
    return noHandles ? nullptr : __real_curl_multi_init();
}

CURLMcode __wrap_curl_multi_setopt(CURLM* multi, CURLMoption option, ...) {
    va_list arguments;
    va_start(arguments, option);
    CURLMcode code = CURLM_OK;
    if (static_cast<int>(option) < CURLOPTTYPE_OBJECTPOINT) {
        const long number = va_arg(arguments, long);
        if (multiNumbers != nullptr) {
            multiNumbers->emplace_back(static_cast<int>(option), number);
        }
        code = __real_curl_multi_setopt(multi, option, number);
    } else {
        code = __real_curl_multi_setopt(multi, option, va_arg(arguments, void*));
    }
    va_end(arguments);
    return code;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,cert-dcl50-cpp)

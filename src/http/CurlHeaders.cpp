#include "http/CurlHeaders.h"

#include "core/Log.h"
#include "core/SecureStringUtils.h"
#include "http/HttpUtils.h"
#include "http/LineText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include <curl/curl.h>

namespace zeb::http {

namespace {

constexpr std::size_t USUAL_HEADER_SIZE = 512;
constexpr std::string_view SEPARATOR = ": ";

/// Why the header must not reach the wire; null when it may.
const char* objectionTo(const HttpHeader& header) {
    if (header.first.empty()) {
        return "its name is empty";
    }
    if (breaksLine(header.first)) {
        return "its name has a line break or NUL in it";
    }
    return breaksLine(header.second) ? "its value has a line break or NUL in it" : nullptr;
}

/// A name that is in order tells which header it was; the value may be a secret.
std::string nameOf(const HttpHeader& header) {
    return breaksLine(header.first) ? std::string() : " '" + header.first + "'";
}

}  // namespace

CurlHeaders::CurlHeaders(const std::shared_ptr<HttpHeaders>& headers) {
    if (headers == nullptr) {
        return;
    }
    for (std::size_t index = 0; index < headers->size(); ++index) {
        const HttpHeader& header = (*headers)[index];
        if (const char* const objection = objectionTo(header)) {
            ZEB_LOG_ERROR(log::httpClient(), "Header" << nameOf(header) << " with index " << index
                                                      << " is left out: " << objection);
            continue;
        }
        if (!append(header)) {
            ZEB_LOG_ERROR(log::httpClient(), "Fail to append header to list, header index: " << index);
            // Deliberate: the lines so far are given up and the list starts anew with the next one. They are
            // wiped, as they may hold secrets.
            clear();
        }
    }
}

CurlHeaders::~CurlHeaders() {
    clear();
}

void CurlHeaders::clear() {
    for (curl_slist* entry = list_; entry != nullptr; entry = entry->next) {
        SecureStringUtils::ZEBZeroMemory(entry->data, std::strlen(entry->data));
    }
    curl_slist_free_all(list_);
    list_ = nullptr;
}

void CurlHeaders::buildHeader(const HttpHeader& header, std::string& out) {
    // More than the usual size only for a longer line: growing would leave a copy of the value behind.
    out.reserve(std::max(USUAL_HEADER_SIZE, header.first.size() + SEPARATOR.size() + header.second.size()));
    out.append(header.first).append(SEPARATOR).append(header.second);
}

bool CurlHeaders::append(const HttpHeader& header) {
    const std::size_t size = header.first.size() + SEPARATOR.size() + header.second.size();
    if (size >= USUAL_HEADER_SIZE) {
        std::string line;
        buildHeader(header, line);
        const bool appended = appendLine(line.c_str());
        SecureStringUtils::ZEBZeroString(line);
        return appended;
    }
    std::array<char, USUAL_HEADER_SIZE> line;
    char* end = std::copy(header.first.begin(), header.first.end(), line.data());
    end = std::copy(SEPARATOR.begin(), SEPARATOR.end(), end);
    end = std::copy(header.second.begin(), header.second.end(), end);
    *end = '\0';
    const bool appended = appendLine(line.data());
    SecureStringUtils::ZEBZeroMemory(line.data(), size);
    return appended;
}

bool CurlHeaders::appendLine(const char* line) {
    curl_slist* const extended = curl_slist_append(list_, line);
    if (extended == nullptr) {
        return false;  // libcurl has left the list as it was
    }
    list_ = extended;
    return true;
}

void CurlHeaders::appendHeader(const HttpHeader& header) {
    if (const char* const objection = objectionTo(header)) {
        ZEB_LOG_ERROR(log::httpClient(), "Header" << nameOf(header) << " is left out: " << objection);
        return;
    }
    if (!append(header)) {
        ZEB_LOG_ERROR(log::httpClient(), "Fail to append header to list, header info: " << header.first);
    }
}

void CurlHeaders::appendHeaderForSNI(const std::string& name, const std::string& url, bool isEdgeRequest) {
    if (!isEdgeRequest || name.empty() || url.empty()) {
        return;
    }
    std::string value = HttpUtils::extractHostFromHttpUrl(url);
    if (const auto port = HttpUtils::extractPortFromHttpUrl(url)) {
        value += ":" + std::to_string(port);
    }
    appendHeader({name, value});
}

}  // namespace zeb::http

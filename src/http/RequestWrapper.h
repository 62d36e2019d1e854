#pragma once

#include "core/Export.h"
#include "core/SafeBuffer.h"
#include "http/HTTPFileOperation.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

struct curl_httppost;

namespace zeb::http {

class CurlHeaders;
class Request;

/// The private part of a request in flight: what libcurl is given by pointer, and the files it works on.
/// Touched by one transfer thread at a time.
struct ZEBNETUTILS_EXPORT RequestWrapper {
    explicit RequestWrapper(std::shared_ptr<Request> request);
    RequestWrapper(std::shared_ptr<Request> request, double progressStart,
                   HTTPFileOperation::Method fileOperation, const std::string& filePath);
    /// Wipes the body and closes the files.
    ~RequestWrapper();

    RequestWrapper(const RequestWrapper&) = delete;
    RequestWrapper& operator=(const RequestWrapper&) = delete;

    const std::shared_ptr<Request> request;
    /// The options' URL as it was at construction: before the edge transformation and any failover. Empty,
    /// with an error in the log, when the request or its options are null.
    const std::string url;
    double lastReportedProgress;
    bool urlGiven = false;        ///< libcurl took the URL when the request was configured
    std::size_t headerBytes = 0;  ///< of all header lines that have come in this attempt
    HTTPFileOperation::Method fileOperation;
    std::string filePath;
    std::FILE* writeFile = nullptr;
    std::FILE* readFile = nullptr;
    std::shared_ptr<CurlHeaders> requestHeaders;
    /// The ends of libcurl's form list. Deliberately never released: see CurlHttpUtils.
    curl_httppost* formFirst = nullptr;
    curl_httppost* formLast = nullptr;
    std::vector<std::shared_ptr<CurlHeaders>> partHeaders;
    std::string bodyCopy;
    SafeBuffer binaryBodyCopy;
};

}  // namespace zeb::http

#include "http/RequestWrapper.h"

#include "core/Log.h"
#include "core/SecureStringUtils.h"
#include "http/CurlHttpUtils.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"

#include <utility>

namespace zeb::http {

namespace {

std::string urlOf(const std::shared_ptr<Request>& request) {
    if (request == nullptr || request->getOptions() == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "Invalid request with empty request options!");
        return {};
    }
    return request->getOptions()->url;
}

}  // namespace

RequestWrapper::RequestWrapper(std::shared_ptr<Request> theRequest)
    : RequestWrapper(std::move(theRequest), 0, HTTPFileOperation::NONE, "") {}

RequestWrapper::RequestWrapper(std::shared_ptr<Request> theRequest, double progressStart,
                               HTTPFileOperation::Method theFileOperation, const std::string& theFilePath)
    : request(std::move(theRequest)),
      url(urlOf(request)),
      lastReportedProgress(progressStart),
      fileOperation(theFileOperation),
      filePath(theFilePath) {}

RequestWrapper::~RequestWrapper() {
    SecureStringUtils::ZEBZeroString(bodyCopy);
    for (std::FILE** file : {&writeFile, &readFile}) {
        if (*file != nullptr) {
            ZEB_LOG_DEBUG(log::httpClient(),
                          "Closing the file " << CurlHttpUtils::loggableFilePath(*this) << "...");
            CurlHttpUtils::closeFile(file);
        }
    }
}

}  // namespace zeb::http

#include "http/MultiformRequest.h"

#include "http/HttpRequestOptions.h"
#include "http/MultiformPart.h"

#include <utility>

namespace zeb::http {

void MultiformRequest::addPart(std::shared_ptr<MultiformPart> part) {
    if (const std::shared_ptr<HttpRequestOptions> options = getOptions()) {
        options->multiformParts.push_back(std::move(part));
    }
}

void MultiformRequest::addPartFromFile(const std::string& name, const std::string& filePath,
                                       std::shared_ptr<HttpHeaders> headers) {
    addPart(
        std::make_shared<MultiformPart>(MultiformPartType::FROM_FILE, name, filePath, std::move(headers)));
}

void MultiformRequest::addPartFromString(const std::string& name, const std::string& value,
                                         std::shared_ptr<HttpHeaders> headers) {
    addPart(std::make_shared<MultiformPart>(MultiformPartType::FROM_STRING, name, value, std::move(headers)));
}

void MultiformRequest::addPartFromBuffer(const std::string& name, const void* data, unsigned long length,
                                         std::shared_ptr<HttpHeaders> headers) {
    addPart(std::make_shared<MultiformPart>(name, data, length, std::move(headers)));
}

}  // namespace zeb::http

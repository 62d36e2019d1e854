#include "http/MultiformPart.h"

#include <cstring>
#include <utility>

namespace zeb::http {

namespace {

std::unique_ptr<char[]> copyWithNul(const void* data, unsigned long length) {
    auto copy = std::make_unique<char[]>(length + 1);
    if (length != 0) {
        std::memcpy(copy.get(), data, length);
    }
    return copy;
}

}  // namespace

MultiformPart::MultiformPart(MultiformPartType::Type type, const std::string& name, const std::string& value,
                             std::shared_ptr<HttpHeaders> headers)
    : type_(type),
      name_(name),
      filePath_(type == MultiformPartType::FROM_FILE ? value : std::string()),
      value_(type == MultiformPartType::FROM_FILE ? std::string() : value),
      bufferLength_(0),
      headers_(std::move(headers)) {}

MultiformPart::MultiformPart(const std::string& name, const void* data, unsigned long length,
                             std::shared_ptr<HttpHeaders> headers)
    : type_(MultiformPartType::FROM_BUFFER),
      name_(name),
      buffer_(copyWithNul(data, data == nullptr ? 0 : length)),
      bufferLength_(data == nullptr ? 0 : length),
      headers_(std::move(headers)) {}

MultiformPart::~MultiformPart() = default;

}  // namespace zeb::http

#pragma once

#include "core/Export.h"
#include "http/HttpHeaders.h"

#include <memory>
#include <string>

namespace zeb::http {

/// Where a part of a form takes its content from.
struct MultiformPartType {
    enum Type {
        FROM_FILE = 0,
        FROM_STRING = 1,
        FROM_BUFFER = 2,
    };
};

/// One part of a multipart/form-data body (RFC 7578). A part never changes; it may be shared between
/// requests.
class ZEBNETUTILS_EXPORT MultiformPart {
public:
    /// `value` is a path for FROM_FILE, which is read when the request is sent, and the content itself for
    /// FROM_STRING.
    MultiformPart(MultiformPartType::Type type, const std::string& name, const std::string& value,
                  std::shared_ptr<HttpHeaders> headers);
    /// A FROM_BUFFER part. It copies the bytes and ends its copy in one extra NUL, which is not part of the
    /// content. A null buffer counts as one of length 0.
    MultiformPart(const std::string& name, const void* data, unsigned long length,
                  std::shared_ptr<HttpHeaders> headers);
    ~MultiformPart();

    MultiformPart(const MultiformPart&) = delete;
    MultiformPart& operator=(const MultiformPart&) = delete;

    MultiformPartType::Type getType() const { return type_; }
    const std::string& getName() const { return name_; }
    const std::string& getFilePath() const { return filePath_; }
    const std::string& getValue() const { return value_; }
    const char* getBuffer() const { return buffer_.get(); }
    unsigned long getBufferLength() const { return bufferLength_; }
    /// The caller's own vector; may be null.
    const std::shared_ptr<HttpHeaders>& getHeaders() const { return headers_; }

private:
    const MultiformPartType::Type type_;
    const std::string name_;
    const std::string filePath_;
    const std::string value_;
    const std::unique_ptr<char[]> buffer_;
    const unsigned long bufferLength_;
    const std::shared_ptr<HttpHeaders> headers_;
};

}  // namespace zeb::http

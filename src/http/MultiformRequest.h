#pragma once

#include "core/Export.h"
#include "http/HttpHeaders.h"
#include "http/Request.h"

#include <memory>
#include <string>

namespace zeb::http {

/// A request whose body is a form (RFC 7578). Each operation adds one part to the options, in order; without
/// options it adds nothing. `headers` may be null.
class ZEBNETUTILS_EXPORT MultiformRequest : public Request {
public:
    using Request::Request;

    /// The file is read when the request is sent.
    void addPartFromFile(const std::string& name, const std::string& filePath,
                         std::shared_ptr<HttpHeaders> headers);
    void addPartFromString(const std::string& name, const std::string& value,
                           std::shared_ptr<HttpHeaders> headers);
    /// The bytes are copied.
    void addPartFromBuffer(const std::string& name, const void* data, unsigned long length,
                           std::shared_ptr<HttpHeaders> headers);

private:
    void addPart(std::shared_ptr<class MultiformPart> part);
};

}  // namespace zeb::http

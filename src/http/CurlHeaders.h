#pragma once

#include "core/Export.h"
#include "http/HttpHeaders.h"

#include <memory>
#include <string>

struct curl_slist;

namespace zeb::http {

/// Owner of one libcurl string list that holds header lines, which may be secrets: every line is overwritten
/// with zeros before it is freed.
///
/// A header with an empty name, or with a CR, LF or NUL in its name or value, would become another header, or
/// the end of them all, on the wire. It is left out, and an error in the log says which and why.
class ZEBNETUTILS_EXPORT CurlHeaders {
public:
    /// A null vector gives an empty list. When a line can't be appended, for lack of memory, that is logged
    /// and only the lines behind it remain.
    explicit CurlHeaders(const std::shared_ptr<HttpHeaders>& headers);
    ~CurlHeaders();

    CurlHeaders(const CurlHeaders&) = delete;
    CurlHeaders& operator=(const CurlHeaders&) = delete;

    /// "name: value" into `out`, whose storage is large enough from the start, so that no outgrown copy of a
    /// secret stays behind.
    static void buildHeader(const HttpHeader& header, std::string& out);

    /// Adds one header line; on failure, which is logged, the list stays as it was.
    void appendHeader(const HttpHeader& header);

    /// For an edge request: adds the header `name` with host and port of `url`, so that it names the host
    /// itself, whatever name the TLS handshake uses. Does nothing else.
    void appendHeaderForSNI(const std::string& name, const std::string& url, bool isEdgeRequest);

    /// Null when the list is empty. Valid as long as this object.
    curl_slist* getCurlHeaderList() const { return list_; }

private:
    bool append(const HttpHeader& header);
    bool appendLine(const char* line);
    void clear();

    curl_slist* list_ = nullptr;
};

}  // namespace zeb::http

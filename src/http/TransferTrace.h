#pragma once

#include <ostream>
#include <string>

/// What libcurl tells about a running transfer, message by message. The operations that judge a message are
/// CurlHttpUtils' (curlTraceCallback, matchPhase ...) and stand in this header's source file.
namespace zeb::http {

/// The kind of one trace message: a `curl_infotype`, as its number, so that libcurl's headers stay out of
/// here. (An unnamed enumeration can't be declared ahead.)
struct CurlInfoType {
    int value;
};

/// "TEXT", "HEADER_IN", "HEADER_OUT", "DATA_IN", "DATA_OUT", "SSL_DATA_IN", "SSL_DATA_OUT"; for any other
/// number "Unexpected value (" and the number and ")".
std::ostream& operator<<(std::ostream& stream, CurlInfoType type);

/// The authentication scheme that such a text names: "Basic" of "Proxy auth using Basic with user 'x'". It
/// begins one character after "using" and ends one before the following "with", or with the text when there
/// is none. Empty without "using".
std::string getProxyAuthenticationTypeFromStr(const std::string& text);

}  // namespace zeb::http

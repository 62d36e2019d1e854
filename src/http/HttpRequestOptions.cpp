#include "http/HttpRequestOptions.h"

namespace zeb::http {

HttpRequestOptions::HttpRequestOptions(const std::string& requestUrl)
    : url(requestUrl), headers(std::make_shared<HttpHeaders>()) {}

std::string HttpRequestOptions::methodName() const {
    switch (method) {
        case HttpMethod::GET:
            return "GET";
        case HttpMethod::POST:
            return "POST";
        case HttpMethod::PUT:
            return "PUT";
        case HttpMethod::DELETE:
            return "DELETE";
        case HttpMethod::OPTIONS:
            return "OPTIONS";
    }
    return "unknown";
}

std::string HttpRequestOptions::acceptableTlsVersionsAsString() const {
    std::string text = "[acceptable cryptographic protocols] ";
    if ((acceptableTlsVersions & TlsVersion::TLS_1_0) != 0) {
        text += " TLS_1_0";
    }
    if ((acceptableTlsVersions & TlsVersion::TLS_1_1) != 0) {
        text += " TLS_1_1";
    }
    if ((acceptableTlsVersions & TlsVersion::TLS_1_2) != 0) {
        text += " TLS_1_2";
    }
    return text;
}

std::string HttpRequestOptions::loggingOptionAsString() const {
    std::string text = "[Logging Options] ";
    if (isLoggingOptionSet(LoggingOption::NO_FILE_PATH)) {
        text += "NO_FILE_PATH";
    }
    if (isLoggingOptionSet(LoggingOption::NO_URL)) {
        text += "NO_URL";
    }
    return text;
}

}  // namespace zeb::http

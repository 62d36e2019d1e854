#include "http/CurlAnswerEvaluator.h"

#include "common/FipsUtils.h"
#include "core/Log.h"
#include "http/HttpRequestData.h"

#include <curl/curl.h>

namespace zeb::http {

namespace {

HttpClientResult::Result resultOf(int curlCode) {
    switch (curlCode) {
        case CURLE_OK:
            return HttpClientResult::SUCCESS;
        case CURLE_URL_MALFORMAT:
            return HttpClientResult::URL_FORMAT_ERROR;
        case CURLE_COULDNT_RESOLVE_PROXY:
            return HttpClientResult::UNRESOLVED_PROXY_ERROR;
        case CURLE_COULDNT_RESOLVE_HOST:
            return HttpClientResult::UNRESOLVED_HOST_ERROR;
        case CURLE_COULDNT_CONNECT:
            return HttpClientResult::HOST_UNREACHABLE_ERROR;
        case CURLE_WRITE_ERROR:
            return HttpClientResult::FILE_WRITE_ERROR;
        case CURLE_READ_ERROR:
            return HttpClientResult::READ_CALLBACK_ERROR;
        case CURLE_OPERATION_TIMEDOUT:
            return HttpClientResult::CONNECTION_TIMEOUT_ERROR;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_ENGINE_NOTFOUND:
        case CURLE_SSL_ENGINE_SETFAILED:
        case CURLE_SSL_CIPHER:
        case CURLE_USE_SSL_FAILED:
        case CURLE_SSL_ENGINE_INITFAILED:
        case CURLE_SSL_SHUTDOWN_FAILED:
            return HttpClientResult::SSL_CONNECTION_ERROR;
        case CURLE_FILE_COULDNT_READ_FILE:
            return HttpClientResult::FILE_READ_ERROR;
        case CURLE_ABORTED_BY_CALLBACK:
            return HttpClientResult::REQUEST_CANCELLED;
        case CURLE_TOO_MANY_REDIRECTS:
            return HttpClientResult::TOO_MANY_REDIRECTS_ERROR;
        case CURLE_SSL_CERTPROBLEM:
            return HttpClientResult::CLIENT_CERTIFICATE_ERROR;
        case CURLE_PEER_FAILED_VERIFICATION:
            return HttpClientResult::CERTIFICATE_VALIDATION_ERROR;
        default:
            return HttpClientResult::UNKNOWN_ERROR;
    }
}

}  // namespace

CurlAnswerEvaluator::~CurlAnswerEvaluator() = default;

bool CurlAnswerEvaluator::representServerFailure(int curlCode) {
    switch (curlCode) {
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
        case CURLE_WRITE_ERROR:
        case CURLE_READ_ERROR:
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_REMOTE_DISK_FULL:
            return true;
        default:
            return false;
    }
}

HttpClientResult::Result CurlAnswerEvaluator::curlCodeToResult(int curlCode, HttpRequestData* requestData) {
    const HttpClientResult::Result result = resultOf(curlCode);
    ZEB_LOG_INFO(log::httpClient(),
                 "Request " << (requestData == nullptr ? std::string() : requestData->formattedRequestID())
                            << " got curlCode=[" << curlCode << "] HttpClientResult=[" << result << "]"
                            << " fips enabled=[" << (common::FipsUtils::isFipsEnabled() ? "true" : "false")
                            << "]");
    return result;
}

}  // namespace zeb::http

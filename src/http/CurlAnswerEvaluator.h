#pragma once

#include "core/Export.h"
#include "http/HttpClientResult.h"

namespace zeb::http {

class HttpRequestData;

/// Judges libcurl's answer to a transfer. A host may derive from it and install its own judgement in a client
/// (BasicHttpClientImpl::setCurlAnswerEvaluator). The code is a `CURLcode`, as a number. Called on transfer
/// threads.
class ZEBNETUTILS_EXPORT CurlAnswerEvaluator {
public:
    virtual ~CurlAnswerEvaluator();

    /// True for a code after which another server could help: the request then goes on to its next URL.
    virtual bool representServerFailure(int curlCode);
    /// The result that the code stands for. `requestData` is used for the log alone and may be null.
    virtual HttpClientResult::Result curlCodeToResult(int curlCode, HttpRequestData* requestData);
};

}  // namespace zeb::http

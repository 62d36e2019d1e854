#pragma once

#include "core/Export.h"
#include "http/HttpClientResult.h"
#include "http/ProgressData.h"
#include "http/Response.h"

namespace zeb::http {

/// Implemented by the host: hears how a request goes on. Every accepted asynchronous request gets exactly one
/// of onRequestFailed and onRequestCompleted, on a thread of the client's pool, with no lock held; progress
/// comes on the thread that transfers, so a slow listener slows the transfer. A listener must not throw.
class ZEBNETUTILS_EXPORT HttpClientListener {
public:
    virtual void onRequestFailed(unsigned int requestId, HttpClientResult::Result result) = 0;
    /// The response, but for what its shared members hold, is valid during the call only.
    virtual void onRequestCompleted(unsigned int requestId, const Response& response) = 0;
    /// About every 100 KiB, and once more at the end.
    virtual void onRequestProgress(unsigned int requestId, ProgressData progress) = 0;
    virtual ~HttpClientListener();
};

}  // namespace zeb::http

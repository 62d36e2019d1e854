#pragma once

#include "core/Export.h"
#include "http/HttpClientResult.h"
#include "http/ProgressData.h"
#include "http/Response.h"

namespace zeb::http {

/// Implemented by the host: hears how a request goes on, with no lock held. Every accepted asynchronous
/// request of a basic client gets exactly one of onRequestFailed and onRequestCompleted, on a thread of the
/// client's pool. A request of a multi client gets one of them on the client's driving thread, or on a thread
/// of its pool when it fails before its transfer; none when it is cancelled. Progress comes on the thread
/// that transfers: a slow listener slows the transfer, and all transfers of a multi client. A listener must
/// not throw.
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

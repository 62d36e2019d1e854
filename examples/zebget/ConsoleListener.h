#pragma once

#include "http/HttpClientListener.h"

#include <future>

namespace zebget {

/// Draws the progress of a transfer on a terminal, and lets the main thread wait for the end of an
/// asynchronous one.
class ConsoleListener : public zeb::http::HttpClientListener {
public:
    struct Outcome {
        zeb::http::HttpClientResult::Result result;
        zeb::http::Response response;
    };

    explicit ConsoleListener(bool showProgress) : showProgress_(showProgress) {}

    // Called on the client's threads.
    void onRequestFailed(unsigned int requestId, zeb::http::HttpClientResult::Result result) override;
    void onRequestCompleted(unsigned int requestId, const zeb::http::Response& response) override;
    void onRequestProgress(unsigned int requestId, zeb::http::ProgressData progress) override;

    /// Waits for the end of the asynchronous request.
    Outcome wait() { return outcome_.get_future().get(); }

private:
    const bool showProgress_;
    std::promise<Outcome> outcome_;
};

}  // namespace zebget

#include "ConsoleListener.h"

#include <cstdio>
#include <string>

namespace zebget {

namespace {

constexpr int BAR_WIDTH = 40;
constexpr double MIB = 1024.0 * 1024.0;

}  // namespace

void ConsoleListener::onRequestFailed(unsigned int /*requestId*/,
                                      zeb::http::HttpClientResult::Result result) {
    outcome_.set_value({result, {}});
}

void ConsoleListener::onRequestCompleted(unsigned int /*requestId*/, const zeb::http::Response& response) {
    // A copy: the response itself is ours during this call only.
    outcome_.set_value({zeb::http::HttpClientResult::SUCCESS, response});
}

void ConsoleListener::onRequestProgress(unsigned int /*requestId*/, zeb::http::ProgressData progress) {
    if (!showProgress_) {
        return;
    }
    if (progress.total <= 0) {
        (void)std::fprintf(stderr, "\r%.1f MiB ", progress.transferred / MIB);
        return;
    }
    const double part = progress.transferred / progress.total;
    const std::string bar(static_cast<std::size_t>(part * BAR_WIDTH), '#');
    (void)std::fprintf(stderr, "\r[%-*s] %3.0f%% of %.1f MiB%s", BAR_WIDTH, bar.c_str(), part * 100,
                       progress.total / MIB, progress.transferred == progress.total ? "\n" : "");
}

}  // namespace zebget

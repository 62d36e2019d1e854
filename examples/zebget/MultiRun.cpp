#include "MultiRun.h"

#include "Arguments.h"
#include "CertificatePrompt.h"
#include "Interrupt.h"
#include "MakeRequest.h"
#include "RefusedCertificates.h"
#include "cert/common/CertVerifier.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiHttpClient.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/NetUtilsFactory.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace zebget {

namespace {

using zeb::http::HttpClientError;
using zeb::http::HttpClientListener;
using zeb::http::HttpClientResult;
using zeb::http::MultiHttpClient;
using zeb::http::Response;
using Clock = std::chrono::steady_clock;

constexpr unsigned int POOL_THREADS = 4;

/// One line each; blank ones and those that begin with '#' are no URLs.
bool readUrls(const std::string& path, std::vector<std::string>& urls) {
    std::ifstream file(path);
    std::istream& list = path == "-" ? std::cin : file;
    std::string line;
    while (std::getline(list, line)) {
        const std::size_t begin = line.find_first_not_of(" \t\r");
        if (begin != std::string::npos && line[begin] != '#') {
            urls.push_back(line.substr(begin, line.find_last_not_of(" \t\r") - begin + 1));
        }
    }
    return list.eof();
}

/// Counts what is under way, so that the main thread can keep it at the number asked for.
class Progress {
public:
    Progress(std::size_t total, bool shown) : total_(total), shown_(shown) {}
    ~Progress() {
        if (shown_) {
            (void)std::fputc('\n', stderr);
        }
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Returns once fewer than `limit` are under way, and counts one more; false after Ctrl-C.
    bool begin(std::size_t limit) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return interrupted_ || underWay_ < limit; });
        ++underWay_;
        return !interrupted_;
    }
    void waitForAll() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [&] { return interrupted_ || underWay_ == 0; });
    }
    void interrupt() {
        const std::lock_guard<std::mutex> lock(mutex_);
        interrupted_ = true;
        changed_.notify_all();
    }
    void end(const std::string& url, HttpClientResult::Result result, int status, Clock::duration took,
             std::size_t bytes) {
        const std::lock_guard<std::mutex> lock(mutex_);
        --underWay_;
        ++ended_;
        bytes_ += bytes;
        if (result != HttpClientResult::SUCCESS) {
            lastFailure_ = static_cast<int>(result);
        }
        refused_ = refused_ || result == HttpClientResult::CERTIFICATE_VALIDATION_ERROR;
        hide();
        std::cout << result;
        if (result == HttpClientResult::SUCCESS) {
            std::cout << " " << status;
        }
        std::cout << " " << std::chrono::duration_cast<std::chrono::milliseconds>(took).count() << " ms "
                  << bytes << " bytes " << url << std::endl;
        show();
        changed_.notify_all();
    }
    /// Why servers were refused, once it is known of all.
    void tellRefusals() {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (refused_) {
            hide();
            tellRefusedCertificates();
            show();
        }
    }
    int status() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return interrupted_ ? static_cast<int>(HttpClientResult::REQUEST_CANCELLED) : lastFailure_;
    }

private:
    void hide() const {
        if (shown_) {
            (void)std::fputs("\r\033[K", stderr);
        }
    }
    void show() const {
        if (shown_) {
            (void)std::fprintf(stderr, "\r%zu of %zu, %zu under way, %.1f KiB", ended_, total_, underWay_,
                               static_cast<double>(bytes_) / 1024.0);
        }
    }

    const std::size_t total_;
    const bool shown_;
    std::mutex mutex_;  ///< guards what follows, and keeps lines whole
    std::condition_variable changed_;
    std::size_t underWay_ = 0;
    std::size_t ended_ = 0;
    std::size_t bytes_ = 0;
    int lastFailure_ = 0;
    bool interrupted_ = false;
    bool refused_ = false;
};

/// Hears of one request.
class Listener : public HttpClientListener {
public:
    Listener(std::string url, std::shared_ptr<Progress> progress)
        : url_(std::move(url)), progress_(std::move(progress)) {}

    void onRequestFailed(unsigned int /*requestId*/, HttpClientResult::Result result) override {
        progress_->end(url_, result, 0, Clock::now() - began_, 0);
    }
    void onRequestCompleted(unsigned int /*requestId*/, const Response& response) override {
        progress_->end(url_, HttpClientResult::SUCCESS, response.responseCode, Clock::now() - began_,
                       response.body.size());
    }
    void onRequestProgress(unsigned int /*requestId*/, zeb::http::ProgressData /*progress*/) override {}

private:
    const std::string url_;
    const std::shared_ptr<Progress> progress_;
    const Clock::time_point began_ = Clock::now();
};

}  // namespace

int runMulti(const Arguments& arguments, Interrupt& interrupt) {
    std::vector<std::string> urls;
    if (!readUrls(*arguments.multiFile, urls)) {
        std::cerr << "zebget: the list '" << *arguments.multiFile << "' can't be read\n";
        return EXIT_FAILURE;
    }
    const auto progress =
        std::make_shared<Progress>(urls.size(), arguments.progress || isatty(STDERR_FILENO) != 0);
    interrupt.doFirst([progress] { progress->interrupt(); });
    {
        // Its end cancels whatever is still under way.
        const std::shared_ptr<MultiHttpClient> client =
            zeb::netutils::NetUtilsFactory().createMultiHttpClient(makeVerifier(arguments.insecurePolicy),
                                                                   POOL_THREADS);
        for (const std::string& url : urls) {
            if (!progress->begin(arguments.atATime)) {
                break;
            }
            const std::shared_ptr<zeb::http::Request> request = makeRequest(arguments, url);
            const auto listener = std::make_shared<Listener>(url, progress);
            request->setListener(listener);
            unsigned int id = 0;
            if (client->enqueueRequest(request, id) != HttpClientError::SUCCESS) {
                listener->onRequestFailed(id, HttpClientResult::UNKNOWN_ERROR);
            }
        }
        progress->waitForAll();
    }
    interrupt.doFirst(nullptr);
    progress->tellRefusals();
    return progress->status();
}

}  // namespace zebget

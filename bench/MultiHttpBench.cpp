// The multi client beside raw libcurl's multi interface with equal options, in one run, against a server in a
// process of its own: GETs of 1 KiB with a fixed number of them in flight, as many again as have ended.
//
// Both make a new easy handle for each request, as any client that serves unlike requests at once must; each
// takes its next request when one has ended, on the thread that drives libcurl. Raw sets every option that
// the client sets for such a request, once, with callbacks that do the least: keep the body and the header
// lines. Both run under the allocator hooks, which are the process's. What the client does besides is its
// own: it makes the objects of a request, applies its policies, reads addresses and cookies of the answer,
// and reports to its listener and to the network event reporter. The server is named by its address and the
// edge isn't used, so no request goes by way of the client's pool.

// The progress function is the one that the client sets; its deprecation is known.
#define CURL_DISABLE_DEPRECATION

#include "BenchServer.h"
#include "Measuring.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiHttpClient.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <future>
#include <malloc.h>
#include <memory>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

namespace {

using zeb::bench::medianOf;

constexpr std::size_t BODY_SIZE = 1024;
constexpr int ROUNDS = 15;
/// As long as the client's label.
constexpr char CA_PATH[] = "/dev/null/0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

const zeb::bench::Server& server() {
    static const zeb::bench::Server instance(BODY_SIZE);
    return instance;
}

/// What a number of requests took.
struct Cost {
    double seconds = 0;
    double cpuSeconds = 0;
    bool answered = true;
};

double cpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

template <typename Function>
Cost costOf(const Function& function) {
    const double cpu = cpuSeconds();
    const auto begin = std::chrono::steady_clock::now();
    Cost cost;
    cost.answered = function();
    cost.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    cost.cpuSeconds = cpuSeconds() - cpu;
    return cost;
}

// --- raw ---------------------------------------------------------------------------------------------------

struct RawRequest {
    curl_slist* list = curl_slist_append(nullptr, "User-Agent: bench");
    char error[CURL_ERROR_SIZE] = "";
    std::string body;
    std::vector<std::string> headers;
};

std::size_t appendBody(char* data, std::size_t size, std::size_t count, void* request) {
    static_cast<RawRequest*>(request)->body.append(data, size * count);
    return size * count;
}

std::size_t keepHeader(char* data, std::size_t size, std::size_t count, void* request) {
    static_cast<RawRequest*>(request)->headers.emplace_back(data, size * count);
    return size * count;
}

int hearNothing(CURL* /*curl*/, curl_infotype /*type*/, char* /*text*/, std::size_t /*size*/,
                void* /*data*/) {
    return 0;
}

int hearProgress(void* /*request*/, double /*dlTotal*/, double /*dlNow*/, double /*ulTotal*/,
                 double /*ulNow*/) {
    return 0;
}

CURLcode leaveContext(CURL* /*curl*/, void* /*context*/, void* /*request*/) {
    return CURLE_OK;
}

curl_socket_t openSocket(void* /*client*/, curlsocktype /*purpose*/, curl_sockaddr* address) {
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

int closeSocket(void* /*client*/, curl_socket_t socket) {
    return ::close(socket);
}

class RawClient {
public:
    RawClient() : multi_(curl_multi_init()) {
        curl_multi_setopt(multi_, CURLMOPT_PIPELINING, 1L);
        curl_multi_setopt(multi_, CURLMOPT_PIPELINING, CURLPIPE_HTTP1 | CURLPIPE_MULTIPLEX);
    }
    ~RawClient() { curl_multi_cleanup(multi_); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool run(int count, int inFlight) {
        int begun = 0;
        int ended = 0;
        bool answered = true;
        for (; begun < std::min(count, inFlight); ++begun) {
            add();
        }
        while (ended < count) {
            int running = 0;
            curl_multi_perform(multi_, &running);
            int left = 0;
            bool any = false;
            while (const CURLMsg* const message = curl_multi_info_read(multi_, &left)) {
                answered = finish(message->easy_handle, message->data.result) && answered;
                ++ended;
                any = true;
                if (begun < count) {
                    ++begun;
                    add();
                }
            }
            if (!any) {
                curl_multi_wait(multi_, nullptr, 0, 20000, nullptr);
            }
        }
        return answered;
    }

private:
    void add() {
        CURL* const curl = curl_easy_init();
        auto* const request = new RawRequest;
        curl_easy_setopt(curl, CURLOPT_PRIVATE, request);
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, request->list);
        curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &keepHeader);
        curl_easy_setopt(curl, CURLOPT_HEADERDATA, request);
        curl_easy_setopt(curl, CURLOPT_URL, server().url().c_str());
        curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
        curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &appendBody);
        curl_easy_setopt(curl, CURLOPT_WRITEDATA, request);
        curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, request->error);
        curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &hearNothing);
        curl_easy_setopt(curl, CURLOPT_DEBUGDATA, request);
        curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
        curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
        curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(curl, CURLOPT_PROGRESSFUNCTION, &hearProgress);
        curl_easy_setopt(curl, CURLOPT_PROGRESSDATA, request);
        curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(curl, CURLOPT_SSL_SESSIONID_CACHE, 0L);
        curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
        curl_easy_setopt(curl, CURLOPT_CAINFO, nullptr);
        curl_easy_setopt(curl, CURLOPT_CAPATH, CA_PATH);
        curl_easy_setopt(curl, CURLOPT_SSL_CTX_FUNCTION, &leaveContext);
        curl_easy_setopt(curl, CURLOPT_SSL_CTX_DATA, request);
        curl_easy_setopt(curl, CURLOPT_COOKIELIST, "");
        curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, 60000L);
        curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, 0L);
        curl_easy_setopt(curl, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_DEFAULT));
        curl_easy_setopt(curl, CURLOPT_SSL_CIPHER_LIST,
                         zeb::http::CommonCriteriaUsagePolicy::cipherSuitsDefault);
        curl_easy_setopt(curl, CURLOPT_IPRESOLVE, static_cast<long>(CURL_IPRESOLVE_WHATEVER));
        curl_easy_setopt(curl, CURLOPT_OPENSOCKETFUNCTION, &openSocket);
        curl_easy_setopt(curl, CURLOPT_OPENSOCKETDATA, this);
        curl_easy_setopt(curl, CURLOPT_CLOSESOCKETFUNCTION, &closeSocket);
        curl_easy_setopt(curl, CURLOPT_CLOSESOCKETDATA, this);
        curl_multi_add_handle(multi_, curl);
    }

    bool finish(CURL* curl, CURLcode code) {
        RawRequest* request = nullptr;
        curl_easy_getinfo(curl, CURLINFO_PRIVATE, &request);
        const bool good = code == CURLE_OK && request->body.size() == BODY_SIZE;
        curl_multi_remove_handle(multi_, curl);
        curl_easy_cleanup(curl);
        curl_slist_free_all(request->list);
        delete request;
        return good;
    }

    CURLM* const multi_;
};

// --- ours --------------------------------------------------------------------------------------------------

/// Sends on as many as end, and tells when all have ended.
class Closed : public zeb::http::HttpClientListener, public std::enable_shared_from_this<Closed> {
public:
    Closed(zeb::http::MultiHttpClient& client, int count)
        : client_(client), left_(count), unanswered_(count) {}

    bool run(int inFlight) {
        for (int i = 0; i < inFlight; ++i) {
            next();
        }
        end_.get_future().wait();
        return good_;
    }

    void onRequestFailed(unsigned int /*id*/, zeb::http::HttpClientResult::Result /*result*/) override {
        take(false);
    }
    void onRequestCompleted(unsigned int /*id*/, const zeb::http::Response& response) override {
        take(response.body.size() == BODY_SIZE);
    }
    void onRequestProgress(unsigned int /*id*/, zeb::http::ProgressData /*progress*/) override {}

private:
    void next() {
        if (left_-- > 0) {
            const auto request = std::make_shared<zeb::http::Request>(server().url());
            request->setListener(shared_from_this());
            unsigned int id = 0;
            if (client_.enqueueRequest(request, id) != zeb::http::HttpClientError::SUCCESS) {
                good_ = false;
            }
        }
    }
    void take(bool good) {
        if (!good) {
            good_ = false;
        }
        next();
        if (--unanswered_ == 0) {
            end_.set_value();
        }
    }

    zeb::http::MultiHttpClient& client_;
    std::atomic<int> left_;
    std::atomic<int> unanswered_;
    std::atomic<bool> good_{true};
    std::promise<void> end_;
};

/// Some rounds of each, in turn, so that whatever else the machine does falls on both alike.
void getInFlight(benchmark::State& state) {
    const int inFlight = static_cast<int>(state.range(0));
    const int count = inFlight == 1 ? 3000 : 6000;
    const auto client = zeb::netutils::NetUtilsFactory().createMultiHttpClient(1);
    RawClient raw;
    std::vector<double> rates;
    std::vector<double> cpu;
    std::vector<double> rawRate;
    std::vector<double> oursRate;
    std::vector<double> rawCpu;
    std::vector<double> oursCpu;
    bool answered = true;
    for (auto _ : state) {
        for (int round = 0; round <= ROUNDS; ++round) {
            const Cost rawCost = costOf([&] { return raw.run(count, inFlight); });
            const Cost oursCost =
                costOf([&] { return std::make_shared<Closed>(*client, count)->run(inFlight); });
            answered = answered && rawCost.answered && oursCost.answered;
            if (round == 0) {
                continue;  // the connections come about
            }
            rates.push_back(rawCost.seconds / oursCost.seconds);
            cpu.push_back(oursCost.cpuSeconds / rawCost.cpuSeconds);
            rawRate.push_back(count / rawCost.seconds);
            oursRate.push_back(count / oursCost.seconds);
            rawCpu.push_back(rawCost.cpuSeconds / count * 1e6);
            oursCpu.push_back(oursCost.cpuSeconds / count * 1e6);
        }
    }
    if (!answered) {
        state.SkipWithError("a request failed");
        return;
    }
    state.counters["raw_per_s"] = medianOf(rawRate);
    state.counters["multi_per_s"] = medianOf(oursRate);
    state.counters["rate_ratio"] = medianOf(rates);
    state.counters["raw_cpu_us"] = medianOf(rawCpu);
    state.counters["multi_cpu_us"] = medianOf(oursCpu);
    state.counters["cpu_ratio"] = medianOf(cpu);
}

}  // namespace

BENCHMARK(getInFlight)
    ->Name("MultiGet1KiB/multi_beside_raw")
    ->Arg(1)
    ->Arg(10)
    ->Arg(100)
    ->Arg(500)
    ->UseRealTime()
    ->Iterations(1);

int main(int argc, char** argv) {
    server();
    benchmark::Initialize(&argc, argv);
    // As in a host that has freed a large block once: glibc then no longer gives back at each turn the memory
    // that the next one wants. In a process as young as this it does, in the one thread's arena or the
    // other's, as chance has it.
    mallopt(M_TRIM_THRESHOLD, 64 * 1024 * 1024);
    LogController::getInstance()->setLevel(0);
    if (zeb::netutils::GlobalInit() != 0) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

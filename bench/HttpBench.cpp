// `execute` beside raw libcurl with equal options, in one run, against a server in a process of its own.
//
// The server is a child process, so that neither side pays for its work; each side keeps one connection.

#include "BenchServer.h"
#include "Measuring.h"
#include "http/BasicHttpClient.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

namespace {

using zeb::bench::medianOf;
using zeb::bench::nanosecondsOf;
using zeb::http::HttpClientResult;

constexpr std::size_t BODY_SIZE = 1024;

const zeb::bench::Server& server() {
    static const zeb::bench::Server instance(BODY_SIZE);
    return instance;
}

std::size_t appendBody(char* data, std::size_t size, std::size_t count, void* body) {
    static_cast<std::string*>(body)->append(data, size * count);
    return size * count;
}

std::size_t keepHeader(char* data, std::size_t size, std::size_t count, void* headers) {
    static_cast<std::vector<std::string>*>(headers)->emplace_back(data, size * count);
    return size * count;
}

int hearNothing(CURL* /*curl*/, curl_infotype /*type*/, char* /*text*/, std::size_t /*size*/,
                void* /*data*/) {
    return 0;
}

/// Raw libcurl: one handle, reset and configured anew for each request, as any client that serves unlike
/// requests must.
class RawClient {
public:
    RawClient() : curl_(curl_easy_init()), list_(curl_slist_append(nullptr, "User-Agent: bench")) {}
    ~RawClient() {
        curl_slist_free_all(list_);
        curl_easy_cleanup(curl_);
    }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    bool get() {
        std::string body;
        std::vector<std::string> headers;
        curl_easy_reset(curl_);
        curl_easy_setopt(curl_, CURLOPT_URL, server().url().c_str());
        curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, list_);
        curl_easy_setopt(curl_, CURLOPT_HTTPGET, 1L);
        curl_easy_setopt(curl_, CURLOPT_HEADERFUNCTION, &keepHeader);
        curl_easy_setopt(curl_, CURLOPT_HEADERDATA, &headers);
        curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &appendBody);
        curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &body);
        curl_easy_setopt(curl_, CURLOPT_DEBUGFUNCTION, &hearNothing);
        curl_easy_setopt(curl_, CURLOPT_FOLLOWLOCATION, 1L);
        curl_easy_setopt(curl_, CURLOPT_MAXREDIRS, 5L);
        curl_easy_setopt(curl_, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(curl_, CURLOPT_SSL_SESSIONID_CACHE, 0L);
        curl_easy_setopt(curl_, CURLOPT_SSL_VERIFYHOST, 0L);
        curl_easy_setopt(curl_, CURLOPT_CAINFO, nullptr);
        curl_easy_setopt(curl_, CURLOPT_CAPATH, nullptr);
        curl_easy_setopt(curl_, CURLOPT_COOKIELIST, "");
        curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl_, CURLOPT_CONNECTTIMEOUT_MS, 60000L);
        curl_easy_setopt(curl_, CURLOPT_TIMEOUT_MS, 0L);
        return curl_easy_perform(curl_) == CURLE_OK && body.size() == BODY_SIZE;
    }

private:
    CURL* const curl_;
    curl_slist* const list_;
};

bool executeGet(zeb::http::BasicHttpClient& client) {
    const auto request = std::make_shared<zeb::http::Request>(server().url());
    zeb::http::Response response;
    return client.execute(request, response) == HttpClientResult::SUCCESS &&
           response.body.size() == BODY_SIZE;
}

/// One request each, in turn, so that whatever else the machine does falls on both alike.
void getInTurn(benchmark::State& state) {
    RawClient raw;
    const auto client = zeb::netutils::NetUtilsFactory().createBasicHttpClient();
    std::vector<double> rawTimes;
    std::vector<double> executeTimes;
    bool answered = true;
    for (auto _ : state) {
        rawTimes.push_back(nanosecondsOf([&] { answered = answered && raw.get(); }));
        executeTimes.push_back(nanosecondsOf([&] { answered = answered && executeGet(*client); }));
    }
    if (!answered) {
        state.SkipWithError("a request failed");
        return;
    }
    const double rawMedian = medianOf(rawTimes);
    const double executeMedian = medianOf(executeTimes);
    state.counters["raw_ns"] = rawMedian;
    state.counters["execute_ns"] = executeMedian;
    state.counters["ratio"] = executeMedian / rawMedian;
}

}  // namespace

BENCHMARK(getInTurn)->Name("Get1KiB/execute_beside_raw")->UseRealTime()->Iterations(20000)->Repetitions(3);

int main(int argc, char** argv) {
    server();
    benchmark::Initialize(&argc, argv);
    // ZEB_BENCH_PLAIN_ALLOCATOR=1: libcurl without the library's allocator hooks, to see what those cost.
    if (std::getenv("ZEB_BENCH_PLAIN_ALLOCATOR") != nullptr) {
        curl_global_init(CURL_GLOBAL_ALL);
    } else if (zeb::netutils::GlobalInit() != 0) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

#define CURL_DISABLE_DEPRECATION  // the progress function that the library uses, too

// A download of 1 GiB to a file beside raw libcurl with equal options, in turns, and what it does to the
// memory.

#include "BenchServer.h"
#include "Measuring.h"
#include "http/BasicHttpClient.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <sys/resource.h>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

namespace {

using namespace zeb::http;
using zeb::bench::secondsOf;

constexpr std::size_t BODY_SIZE = std::size_t{1} << 30;
// The disk is not what is measured.
constexpr char TARGET[] = "/dev/null";

const zeb::bench::Server& server() {
    static const zeb::bench::Server instance(BODY_SIZE);
    return instance;
}

class EndListener : public HttpClientListener {
public:
    void onRequestFailed(unsigned int /*requestId*/, HttpClientResult::Result /*result*/) override {
        end_.set_value(false);
    }
    void onRequestCompleted(unsigned int /*requestId*/, const Response& /*response*/) override {
        end_.set_value(true);
    }
    void onRequestProgress(unsigned int /*requestId*/, ProgressData /*progress*/) override {}
    bool wait() { return end_.get_future().get(); }

private:
    std::promise<bool> end_;
};

std::size_t writeToFile(char* data, std::size_t size, std::size_t count, void* file) {
    return std::fwrite(data, size, count, static_cast<std::FILE*>(file)) * size;
}
int goOn(void* /*data*/, double /*dlTotal*/, double /*dlNow*/, double /*ulTotal*/, double /*ulNow*/) {
    return 0;
}
int hearNothing(CURL* /*curl*/, curl_infotype /*type*/, char* /*text*/, std::size_t /*size*/,
                void* /*data*/) {
    return 0;
}

bool downloadRaw(CURL* curl) {
    std::FILE* const file = std::fopen(TARGET, "wb");
    curl_easy_reset(curl);
    curl_easy_setopt(curl, CURLOPT_URL, server().url().c_str());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &writeToFile);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, file);
    curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(curl, CURLOPT_PROGRESSFUNCTION, &goOn);
    curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &hearNothing);
    curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, 60L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    const bool done = curl_easy_perform(curl) == CURLE_OK;
    std::fclose(file);
    return done;
}

bool downloadOurs(BasicHttpClient& client) {
    const auto listener = std::make_shared<EndListener>();
    const auto request = std::make_shared<Request>(server().url());
    request->setListener(listener);
    unsigned int id = 0;
    return client.downloadAsync(request, id, TARGET) == HttpClientError::SUCCESS && listener->wait();
}

double peakMemoryMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

void downloadInTurn(benchmark::State& state) {
    CURL* const curl = curl_easy_init();
    const auto client = zeb::netutils::NetUtilsFactory().createBasicHttpClient();
    bool done = true;
    double raw = 0;
    double ours = 0;
    double growth = 0;
    for (auto _ : state) {
        raw += secondsOf([&] { done = done && downloadRaw(curl); });
        const double before = peakMemoryMiB();
        ours += secondsOf([&] { done = done && downloadOurs(*client); });
        growth = std::max(growth, peakMemoryMiB() - before);
    }
    curl_easy_cleanup(curl);
    if (!done) {
        state.SkipWithError("a download failed");
        return;
    }
    const auto rounds = static_cast<double>(state.iterations());
    state.counters["raw_MiB/s"] = 1024 * rounds / raw;
    state.counters["ours_MiB/s"] = 1024 * rounds / ours;
    state.counters["throughput_ratio"] = raw / ours;
    state.counters["peak_growth_MiB"] = growth;
}

}  // namespace

BENCHMARK(downloadInTurn)->Name("Download1GiB/ours_beside_raw")->UseRealTime()->Iterations(3)->Repetitions(3);

int main(int argc, char** argv) {
    server();
    benchmark::Initialize(&argc, argv);
    if (zeb::netutils::GlobalInit() != 0) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

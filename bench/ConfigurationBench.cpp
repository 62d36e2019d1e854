// What it costs to configure one easy request: the plain one, and one that sets every option.

#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Proxy.h"
#include "http/Request.h"
#include "netutils/GlobalInit.h"
#include "netutils/SNIUtil.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

namespace {

using namespace zeb::http;

class QuietListener : public HttpClientListener {
public:
    void onRequestFailed(unsigned int, HttpClientResult::Result) override {}
    void onRequestCompleted(unsigned int, const Response&) override {}
    void onRequestProgress(unsigned int, ProgressData) override {}
};

std::shared_ptr<Request> plainRequest() {
    auto request = std::make_shared<Request>("https://server.example.com:8443/path/of/a/page?with=query");
    *request->getOptions()->headers = {{"User-Agent", "bench/1.0"}, {"Accept", "*/*"}};
    return request;
}

/// Body, credentials, cookie, proxy with its own credentials, listener, another name for TLS: all but a file,
/// whose opening is the disk's time, and a form.
std::shared_ptr<Request> fullRequest() {
    auto request = plainRequest();
    HttpRequestOptions& options = *request->getOptions();
    options.method = HttpMethod::POST;
    options.body = zeb::SecureString(std::string(200, 'b'));
    options.authType = AuthType::BASIC;
    options.credentials = std::make_shared<Credentials>();
    options.credentials->username = "user";
    options.credentials->password = zeb::SecureString("password");
    options.cookies.emplace_back("server.example.com\tFALSE\t/\tTRUE\t0\tname\tvalue");
    options.forbidReuse = true;
    options.setEdgeRequest(true);
    request->setListener(std::make_shared<QuietListener>());
    auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer("proxy.example.com", ProxyType::HTTP);
    proxy->setAuthentication("user", zeb::SecureString("password"), ProxyAuthentication::ANY);
    proxy->setBypassList("localhost; *.inside.example.com");
    request->setProxy(proxy);
    return request;
}

void configure(benchmark::State& state, const std::shared_ptr<Request>& request) {
    const auto client = HttpClientData::build(nullptr, nullptr);
    const auto data = std::make_shared<HttpRequestData>(request, nullptr);
    client->provideEasyCURLConnection(*data);
    for (auto _ : state) {
        if (!CurlHttpUtils::configureEasyRequest(data)) {
            state.SkipWithError("not configured");
            break;
        }
    }
}

void plain(benchmark::State& state) {
    configure(state, plainRequest());
}

void full(benchmark::State& state) {
    zeb::netutils::SNIUtil::setEdgeDomain("example.net");
    configure(state, fullRequest());
}

}  // namespace

// Interleaved repetitions, so that what else the machine does falls on both.
BENCHMARK(plain)->Name("Configure/plain")->Repetitions(9)->ReportAggregatesOnly();
BENCHMARK(full)->Name("Configure/allOptions")->Repetitions(9)->ReportAggregatesOnly();

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (zeb::netutils::GlobalInit() != 0) {
        return EXIT_FAILURE;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

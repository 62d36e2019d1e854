#include "common/Cookie.h"
#include "http/HttpUtils.h"

#include <cstddef>
#include <string>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

namespace {

using zeb::common::Cookie;
using zeb::http::HttpUtils;

std::string urlOf100Bytes(const std::string& authority) {
    std::string url = "https://" + authority + "/kdr/users/alice?max=5&x=";
    url.resize(100, 'x');
    return url;
}

const std::string NAME_URL = urlOf100Bytes("phone.example.test:8443");
const std::string IPV6_URL = urlOf100Bytes("[2001:db8::1]:8443");

void extractHost(benchmark::State& state, const std::string& url) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(HttpUtils::extractHostFromHttpUrl(url));
    }
}
BENCHMARK_CAPTURE(extractHost, name, NAME_URL);
BENCHMARK_CAPTURE(extractHost, ipv6, IPV6_URL);

/// What libcurl's full parser takes for the same answer.
void extractHostByCurl(benchmark::State& state, const std::string& url) {
    for (auto _ : state) {
        CURLU* const parsed = curl_url();
        char* host = nullptr;
        curl_url_set(parsed, CURLUPART_URL, url.c_str(), 0);
        curl_url_get(parsed, CURLUPART_HOST, &host, 0);
        benchmark::DoNotOptimize(std::string(host));
        curl_free(host);
        curl_url_cleanup(parsed);
    }
}
BENCHMARK_CAPTURE(extractHostByCurl, name, NAME_URL);
BENCHMARK_CAPTURE(extractHostByCurl, ipv6, IPV6_URL);

void extractPort(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(HttpUtils::extractPortFromHttpUrl(NAME_URL));
    }
}
BENCHMARK(extractPort);

void encodeForHttp(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(HttpUtils::encodeForHttp(NAME_URL));
    }
}
BENCHMARK(encodeForHttp);

/// Two encryptions: of the value and of the line.
void parseCookie(benchmark::State& state) {
    const std::string line = "#HttpOnly_.example.test\tTRUE\t/\tTRUE\t1900000000\tX-Auth\t" +
                             std::string(static_cast<std::size_t>(state.range(0)), 'v');
    for (auto _ : state) {
        benchmark::DoNotOptimize(Cookie(line));
    }
}
BENCHMARK(parseCookie)->Arg(32)->Arg(4096);

}  // namespace

BENCHMARK_MAIN();

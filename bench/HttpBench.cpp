// `execute` beside raw libcurl with equal options, in one run, against a server in a process of its own.
//
// The server is a child process, so that neither side pays for its work; each side keeps one connection.

#include "http/BasicHttpClient.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

namespace {

using zeb::http::HttpClientResult;

constexpr std::size_t BODY_SIZE = 1024;

std::string answer() {
    return "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nServer: bench\r\nContent-Length: " +
           std::to_string(BODY_SIZE) + "\r\n\r\n" + std::string(BODY_SIZE, 'x');
}

/// Answers every request head with the same page.
void serveConnection(int connection) {
    const std::string page = answer();
    std::string received;
    char buffer[4096];
    for (;;) {
        const ssize_t count = read(connection, buffer, sizeof buffer);
        if (count <= 0) {
            break;
        }
        received.append(buffer, static_cast<std::size_t>(count));
        std::size_t end = 0;
        while ((end = received.find("\r\n\r\n")) != std::string::npos) {
            received.erase(0, end + 4);
            if (write(connection, page.data(), page.size()) != static_cast<ssize_t>(page.size())) {
                break;
            }
        }
    }
    close(connection);
}

/// A child process that listens on a port of its own; ends with its parent.
class Server {
public:
    Server() {
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (listener < 0 || bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            listen(listener, 16) != 0 ||
            getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
            std::perror("bench server");
            std::exit(EXIT_FAILURE);
        }
        url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/page";
        child_ = fork();
        if (child_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;) {
                const int connection = accept(listener, nullptr, nullptr);
                const int on = 1;
                setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
                std::thread(serveConnection, connection).detach();
            }
        }
        close(listener);
    }
    ~Server() { kill(child_, SIGKILL); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const std::string& url() const { return url_; }

private:
    std::string url_;
    pid_t child_ = -1;
};

const Server& server() {
    static const Server instance;
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

/// One handle, reset and configured anew for each request, as any client that serves unlike requests must.
void rawGet(benchmark::State& state) {
    CURL* const curl = curl_easy_init();
    curl_slist* const list = curl_slist_append(nullptr, "User-Agent: bench");
    for (auto _ : state) {
        std::string body;
        std::vector<std::string> headers;
        curl_easy_reset(curl);
        curl_easy_setopt(curl, CURLOPT_URL, server().url().c_str());
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, list);
        curl_easy_setopt(curl, CURLOPT_HTTPGET, 1L);
        curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, &keepHeader);
        curl_easy_setopt(curl, CURLOPT_HEADERDATA, &headers);
        curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &appendBody);
        curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
        curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, &hearNothing);
        curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
        curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 5L);
        curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
        curl_easy_setopt(curl, CURLOPT_SSL_SESSIONID_CACHE, 0L);
        curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
        curl_easy_setopt(curl, CURLOPT_CAINFO, nullptr);
        curl_easy_setopt(curl, CURLOPT_CAPATH, nullptr);
        curl_easy_setopt(curl, CURLOPT_COOKIEFILE, "");
        curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, 60000L);
        curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, 0L);
        if (curl_easy_perform(curl) != CURLE_OK || body.size() != BODY_SIZE) {
            state.SkipWithError("the raw request failed");
            break;
        }
    }
    curl_slist_free_all(list);
    curl_easy_cleanup(curl);
}

void executeGet(benchmark::State& state) {
    const auto client = zeb::netutils::NetUtilsFactory().createBasicHttpClient();
    for (auto _ : state) {
        const auto request = std::make_shared<zeb::http::Request>(server().url());
        zeb::http::Response response;
        if (client->execute(request, response) != HttpClientResult::SUCCESS ||
            response.body.size() != BODY_SIZE) {
            state.SkipWithError("the request failed");
            break;
        }
    }
}

}  // namespace

// Interleaved repetitions, so that what else the machine does falls on both.
BENCHMARK(rawGet)->Name("Get1KiB/raw")->UseRealTime()->Repetitions(9)->ReportAggregatesOnly();
BENCHMARK(executeGet)->Name("Get1KiB/execute")->UseRealTime()->Repetitions(9)->ReportAggregatesOnly();

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

// Everything at once for as long as one likes, in the lab: both clients, synchronous and asynchronous
// requests, downloads, cancellations, failing over, hosts that nobody knows, servers that break what they
// promised. At the end each request must have been answered exactly once, or cancelled, each completed one of
// a multi client reported once, and memory and descriptors be back to where they were.
//
//     Soak SECONDS        0: all was well; 1: something was lost, told twice, or left behind; 69: no lab

#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiHttpClientImpl.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "netutils/NetworkEventCallback.h"
#include "netutils/NetworkEventReporterObserver.h"
#include "netutils/adapters/HttpEventReporterAdapter.h"
#include "support/FakeCertVerifier.h"
#include "support/Lab.h"
#include "support/Threads.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

namespace lab = zeb::test::lab;
using zeb::http::HttpClientError;
using zeb::http::HttpClientResult;
using zeb::http::Request;
using zeb::http::Response;
using Clock = std::chrono::steady_clock;

constexpr int NO_LAB = 69;
constexpr std::size_t AT_A_TIME = 40;
constexpr std::chrono::seconds PATIENCE{60};
constexpr std::size_t ALLOWED_GROWTH = std::size_t{1} << 20;

std::atomic<std::size_t> sent{0};
std::atomic<std::size_t> completed{0};
std::atomic<std::size_t> failed{0};
std::atomic<std::size_t> cancelled{0};
std::atomic<std::size_t> toldTwice{0};
std::atomic<std::size_t> wrong{0};
std::atomic<std::size_t> toBeReported{0};
std::atomic<std::size_t> reported{0};
std::atomic<bool> running{true};

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

std::size_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    statm >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// What the allocator has handed out; the resident memory has its gaps besides.
std::size_t usedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Hears what the transfers say of the network.
class Reports : public zeb::netutils::NetworkEventCallback {
public:
    void onNetworkEvent(const std::string& name) override {
        reported += name == "hintNetworkIsInUse" ? 1 : 0;
    }
};

/// Hears of one request, and knows how often.
class Witness : public zeb::http::HttpClientListener {
public:
    Witness(std::string expected, bool isReported)
        : expected_(std::move(expected)), isReported_(isReported) {}

    /// The body goes elsewhere. Before the request is sent.
    void expectAFile() { expected_.clear(); }

    void onRequestFailed(unsigned int /*id*/, HttpClientResult::Result /*result*/) override { take(failed); }
    void onRequestCompleted(unsigned int /*id*/, const Response& response) override {
        if (!expected_.empty() && response.body != expected_) {
            ++wrong;
        }
        toBeReported += isReported_ ? 1 : 0;
        take(completed);
    }
    void onRequestProgress(unsigned int /*id*/, zeb::http::ProgressData /*progress*/) override {}
    bool answered() const { return answers_ > 0; }

private:
    void take(std::atomic<std::size_t>& outcome) {
        if (++answers_ > 1) {
            ++toldTwice;
        }
        ++outcome;
    }

    std::string expected_;
    const bool isReported_;
    std::atomic<int> answers_{0};
};

/// A request under way. Once it is cancelled it owes no answer; but its Request must go away.
struct Flight {
    std::shared_ptr<Witness> witness;
    std::weak_ptr<Request> request;
    bool cancelled = false;

    bool over() const { return cancelled ? request.expired() : witness->answered() && request.expired(); }
};

/// Makes requests of all kinds, and looks after those of one thread.
class Traffic {
public:
    Traffic(unsigned int seed, std::string file, bool isReported)
        : random_(seed), file_(std::move(file)), isReported_(isReported) {}
    ~Traffic() { std::filesystem::remove(file_); }
    Traffic(const Traffic&) = delete;
    Traffic& operator=(const Traffic&) = delete;

    std::shared_ptr<Request> makeRequest() {
        static const std::vector<std::string> faults = {"/broken/close", "/broken/short", "/status/503",
                                                        "/loop/a",       "/status/404",   "/chain/3"};
        static const std::vector<std::string> rawFaults = {"/nothing", "/garbage", "/half-head", "/bad-chunk",
                                                           "/until-close"};
        std::string expected;
        std::string url = secure() ? lab::secureUrl("/text") : lab::url("/text");
        std::vector<std::string> failover;
        switch (pick(12)) {
            case 0:
                url = pick(2) == 0 ? lab::url(faults.at(pick(faults.size())))
                                   : lab::rawUrl(rawFaults.at(pick(rawFaults.size())));
                break;
            case 1:
                failover = {url};
                url = lab::url(pick(2) == 0 ? lab::DEAD : lab::UNROUTED, "/");
                expected = lab::TEXT;
                break;
            case 2:
                url = lab::url("/slow/head?ms=100");
                break;
            case 3:
                url = lab::url("/mib");
                break;
            case 4:
                url = lab::url("unknown.lab.test", "/");
                break;
            default:
                expected = lab::TEXT;
                break;
        }
        auto request = std::make_shared<Request>(url);
        request->getOptions()->failoverUrls = failover;
        request->getOptions()->transferTimeout = 10000;
        request->getOptions()->connectionTimeout = 5000;
        witness_ = std::make_shared<Witness>(expected, isReported_);
        request->setListener(witness_);
        ++sent;
        return request;
    }

    template <typename Enqueue>
    void send(bool toFile, const Enqueue& enqueue) {
        std::shared_ptr<Request> request = makeRequest();
        if (toFile) {
            witness_->expectAFile();
        }
        flights_.push_back({witness_, request, false});
        if (enqueue(request) != HttpClientError::SUCCESS) {
            ++wrong;
        }
        if (pick(20) == 0) {
            request->cancel();
            flights_.back().cancelled = true;
            ++cancelled;
        }
    }

    std::size_t underWay() {
        flights_.erase(std::remove_if(flights_.begin(), flights_.end(),
                                      [](const Flight& flight) { return flight.over(); }),
                       flights_.end());
        return flights_.size();
    }
    std::size_t pick(std::size_t count) { return random_() % count; }
    const std::string& file() const { return file_; }
    /// How many never came to an end. Nothing tells when a request goes away: they are looked at again.
    std::size_t drain() {
        const auto end = Clock::now() + PATIENCE;
        while (underWay() > 0 && Clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return underWay();
    }

private:
    bool secure() { return pick(2) == 0; }

    std::minstd_rand random_;
    const std::string file_;
    const bool isReported_;
    std::shared_ptr<Witness> witness_;
    std::vector<Flight> flights_;
};

std::shared_ptr<zeb::http::CertVerifier> verifier() {
    return std::make_shared<zeb::test::FakeCertVerifier>(true);
}

std::shared_ptr<zeb::http::BasicHttpClientImpl> makeBasic() {
    return zeb::http::BasicHttpClientImpl::buildBasicHttpClientImpl(
        nullptr, verifier(), std::make_shared<zeb::ThreadPool>(0, 4, "Soak", 1), nullptr);
}

std::size_t soakSynchronous(Traffic& traffic) {
    while (running) {
        const auto client = makeBasic();
        for (int i = 0; i < 100 && running; ++i) {
            const auto request = traffic.makeRequest();
            request->setListener(nullptr);
            Response response;
            ++(client->execute(request, response) == HttpClientResult::SUCCESS ? completed : failed);
        }
    }
    return 0;
}

std::size_t soakAsynchronous(Traffic& traffic) {
    std::size_t lost = 0;
    while (running) {
        const auto client = makeBasic();
        for (int i = 0; i < 200 && running; ++i) {
            const bool toFile = i % 8 == 0;
            traffic.send(toFile, [&](const std::shared_ptr<Request>& request) {
                unsigned int id = 0;
                return toFile ? client->downloadAsync(request, id, traffic.file())
                              : client->executeAsync(request, id);
            });
            while (traffic.underWay() >= AT_A_TIME / 4 && running) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        lost += traffic.drain();
    }
    return lost;
}

std::size_t soakMulti(Traffic& traffic) {
    std::size_t lost = 0;
    while (running) {
        auto client = zeb::http::MultiHttpClientImpl::buildMultiHttpClientImpl(
            nullptr, verifier(),
            std::make_shared<zeb::netutils::adapters::HttpEventReporterAdapter>(
                zeb::netutils::NetUtilsFactory().createNetworkEventReporter()),
            4);
        for (int i = 0; i < 2000 && running; ++i) {
            const bool toFile = i % 16 == 0;
            traffic.send(toFile, [&](const std::shared_ptr<Request>& request) {
                unsigned int id = 0;
                return toFile ? client->enqueueDownloadRequest(request, id, traffic.file())
                              : client->enqueueRequest(request, id);
            });
            while (traffic.underWay() >= AT_A_TIME && running) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        lost += traffic.drain();
    }
    return lost;
}

void report(Clock::time_point began) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - began).count();
    std::printf(
        "%4lld s  sent %zu  completed %zu  failed %zu  cancelled %zu  memory %zu KiB, used %zu KiB  "
        "descriptors %zu\n",
        static_cast<long long>(seconds), sent.load(), completed.load(), failed.load(), cancelled.load(),
        residentBytes() / 1024, usedBytes() / 1024, openDescriptors());
    std::fflush(stdout);
}

/// All of it for that long; how many were lost.
std::size_t soak(std::chrono::seconds span, bool told) {
    running = true;
    std::atomic<std::size_t> lost{0};
    std::vector<std::thread> threads;
    unsigned int seed = 1;
    for (const auto& work : {&soakSynchronous, &soakAsynchronous, &soakMulti, &soakMulti}) {
        threads.emplace_back([&lost, work, number = seed] {
            const auto file = std::filesystem::temp_directory_path() /
                              ("soak-" + std::to_string(getpid()) + "-" + std::to_string(number));
            Traffic traffic(number, file.string(), work == &soakMulti);
            lost += work(traffic);
        });
        ++seed;
    }
    const auto began = Clock::now();
    const auto step = std::max(span / 20, std::chrono::seconds(1));
    while (Clock::now() - began < span) {
        std::this_thread::sleep_for(std::min<Clock::duration>(step, span - (Clock::now() - began)));
        if (told) {
            report(began);
        }
    }
    running = false;
    for (std::thread& thread : threads) {
        thread.join();
    }
    malloc_trim(0);
    return lost;
}

/// Reports are made behind their requests, on other threads.
bool allAreReported() {
    const auto end = Clock::now() + PATIENCE;
    while (reported < toBeReported && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    std::printf("reported %zu of %zu\n", reported.load(), toBeReported.load());
    return reported == toBeReported;
}

int run(std::chrono::seconds span) {
    const auto reports = std::make_shared<Reports>();
    zeb::netutils::NetworkEventReporterObserver::getInstance()->registerForNetworkEvents(reports);
    // What is made once and kept is made before it is measured: arenas, threads, the resolver.
    const std::size_t lostAtFirst = soak(std::chrono::seconds(2), false);
    const std::size_t descriptors = openDescriptors();
    const std::size_t memory = usedBytes();
    const std::size_t lost = lostAtFirst + soak(span, true);
    const bool allReported = allAreReported();
    // A pool's last thread ends a moment after its client.
    for (int tries = 0; openDescriptors() > descriptors && tries < 500; ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    const std::size_t descriptorsLeft = openDescriptors();
    const std::size_t memoryAfter = usedBytes();
    const std::size_t growth = memoryAfter > memory ? memoryAfter - memory : 0;
    std::printf("lost %zu  told twice %zu  wrong %zu  descriptors %zu -> %zu  used memory %zu -> %zu KiB\n",
                lost, toldTwice.load(), wrong.load(), descriptors, descriptorsLeft, memory / 1024,
                memoryAfter / 1024);
    const bool good = allReported && lost == 0 && toldTwice == 0 && wrong == 0 &&
                      descriptorsLeft <= descriptors && growth <= ALLOWED_GROWTH;
    std::puts(good ? "All was well." : "Something was not well.");
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    if (std::getenv("ZEB_LAB") == nullptr) {
        std::puts("There is no lab: run this within lab/enter");
        return NO_LAB;
    }
    const long seconds = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 0;
    if (seconds < 1) {
        std::puts("usage: Soak SECONDS");
        return EXIT_FAILURE;
    }
    LogController::getInstance()->setLevel(0);
    if (zeb::netutils::GlobalInit() != 0) {
        return EXIT_FAILURE;
    }
    const int status = run(std::chrono::seconds(seconds));
    zeb::netutils::GlobalCleanup();
    zeb::test::awaitThreadsThatEnd();
    return status;
}

/// One verification of a server's chain against the full bundle of a system, beside bare OpenSSL with a store
/// that is there already, in one run; and what it costs to notice that the bundle is the same, and to load
/// it.

#include "Measuring.h"
#include "TestChain.h"
#include "cert/linux/LinuxCertVerifier.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/x509_vfy.h>

namespace {

using namespace zeb::cert;
using zeb::bench::medianOf;
using zeb::bench::nanosecondsOf;
using zeb::test::IssuedCertificate;

constexpr const char* SYSTEM_BUNDLE = "/etc/ssl/certs/ca-certificates.crt";

/// The system's bundle and one root more, in a folder of its own that goes with the process.
struct World {
    World() {
        char pattern[] = "/tmp/zeb-bench-XXXXXX";
        directory = std::string(::mkdtemp(pattern)) + "/";
        std::ofstream(bundle()) << std::ifstream(SYSTEM_BUNDLE).rdbuf() << root.pem();
    }
    ~World() {
        std::error_code error;
        std::filesystem::remove_all(directory, error);
    }
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    std::string bundle() const { return directory + "ca-certificates.crt"; }

    std::string directory;
    const IssuedCertificate root =
        test::issue("Root", nullptr, test::asAuthority().key(zeb::test::Keys::rsa()));
    const IssuedCertificate authority =
        test::issue("Authority", &root, test::asAuthority().key(zeb::test::Keys::rsa()));
    const IssuedCertificate server = test::issue("server.example.test", &authority,
                                                 zeb::test::CertificateBuilder().key(zeb::test::Keys::rsa()));
};

const World& world() {
    static const World instance;
    return instance;
}

/// As if each change had been made long ago.
constexpr std::chrono::nanoseconds SETTLED_AT_ONCE = -std::chrono::hours(1);

bool verifyBare(X509_STORE* store, X509* leaf, STACK_OF(X509) * sent) {
    X509_STORE_CTX* const context = X509_STORE_CTX_new();
    X509_STORE_CTX_init(context, store, leaf, sent);
    const bool valid = X509_verify_cert(context) == 1;
    X509_STORE_CTX_cleanup(context);
    X509_STORE_CTX_free(context);
    return valid;
}

/// One verification each, in turn, so that whatever else the machine does falls on both alike.
void verifyInTurn(benchmark::State& state) {
    LinuxCertVerifier::TrustSource source{world().directory, TrustStoreCache(SETTLED_AT_ONCE)};
    LinuxCertVerifier::setTrustSourceForTests(&source);
    const auto verifier = PlatformCertVerifier::createInstance();
    const test::HandshakeContext handshake(world().server, {world().server, world().authority});
    auto* const chain = const_cast<X509_STORE_CTX*>(handshake.get());
    const TrustStoreCache::Store store = TrustStoreCache().load(world().bundle());
    std::vector<double> bareTimes;
    std::vector<double> ourTimes;
    bool valid = true;
    for (auto _ : state) {
        bareTimes.push_back(nanosecondsOf([&] {
            valid =
                verifyBare(store.get(), world().server.get(), X509_STORE_CTX_get0_untrusted(chain)) && valid;
        }));
        ourTimes.push_back(nanosecondsOf([&] {
            valid = CertStatus::representsVerificationSuccess(verifier->verifyCertificate(handshake.get())) &&
                    valid;
        }));
    }
    LinuxCertVerifier::setTrustSourceForTests(nullptr);
    if (!valid) {
        state.SkipWithError("a verification failed");
        return;
    }
    const double bareMedian = medianOf(bareTimes);
    const double ourMedian = medianOf(ourTimes);
    state.counters["bare_ns"] = bareMedian;
    state.counters["verify_ns"] = ourMedian;
    state.counters["ratio"] = ourMedian / bareMedian;
}
BENCHMARK(verifyInTurn)
    ->Name("ChainOfThree/verify_beside_bare")
    ->UseRealTime()
    ->Iterations(5000)
    ->Repetitions(3);

/// What a handshake saves: the bundle read anew.
void loadBundleAnew(benchmark::State& state) {
    TrustStoreCache cache(std::chrono::hours(24 * 365 * 100));  // nothing is ever old enough
    for (auto _ : state) {
        benchmark::DoNotOptimize(cache.load(world().bundle()));
    }
}
BENCHMARK(loadBundleAnew)->Unit(benchmark::kMillisecond);

void seeThatTheBundleIsTheSame(benchmark::State& state) {
    TrustStoreCache cache(SETTLED_AT_ONCE);
    for (auto _ : state) {
        benchmark::DoNotOptimize(cache.load(world().bundle()));
    }
}
BENCHMARK(seeThatTheBundleIsTheSame);
BENCHMARK(seeThatTheBundleIsTheSame)->Threads(2)->UseRealTime()->Name("seeThatTheBundleIsTheSame/by_two");

void fileExists(benchmark::State& state) {
    const std::string bundle = world().bundle();
    for (auto _ : state) {
        benchmark::DoNotOptimize(QRMCoreUtils::FileUtils::fileExists(bundle));
    }
}
BENCHMARK(fileExists);

}  // namespace

BENCHMARK_MAIN();

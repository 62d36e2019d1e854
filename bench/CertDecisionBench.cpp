/// What a decision that is remembered adds to a verification: the look into the memory by itself, and a whole
/// verification of a certificate that the platform refuses and the user has accepted, beside one that the
/// platform trusts, in one run.

#include "Measuring.h"
#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertVerificationFailureManager.h"
#include "cert/common/CertVerifier.h"
#include "cert/common/CertificateValidityCache.h"
#include "cert/utils/CertificateData.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "support/CertificateBuilder.h"
#include "support/FakePlatform.h"

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace zeb::cert;
using zeb::bench::medianOf;
using zeb::bench::nanosecondsOf;
using zeb::test::FakePlatform;
using Statuses = std::set<CertStatus::Status>;
using PromptingBuilder = UserInteractingInvalidCertManagementPolicy::
    PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;

class FixedData : public CertificateData {
public:
    explicit FixedData(std::string fingerprint) : fingerprint_(std::move(fingerprint)) {}
    std::string getFingerprint() const override { return fingerprint_; }
    std::vector<std::string> getPem() const override { return {"leaf"}; }
    std::string getCommonName() const override { return "server.example.test"; }

private:
    const std::string fingerprint_;
};

const zeb::test::IssuedCertificate& server() {
    static const auto certificate = zeb::test::CertificateBuilder()
                                        .commonName("server.example.test")
                                        .dnsNames({"server.example.test"})
                                        .key(zeb::test::Keys::rsa())
                                        .build();
    return certificate;
}

std::string fingerprint() {
    return CertificateValidityCache::generateFingerprint(server().get());
}

/// A memory that holds more than the one that is asked for.
void rememberOthers() {
    for (int i = 0; i < 1000; ++i) {
        CertificateValidityCache::addAcceptedInvalidCertificate(std::to_string(i), CertStatus::UNKNOWN);
        CertificateValidityCache::addRejectedInvalidCertificate(std::to_string(i), CertStatus::UNKNOWN);
    }
}

template <typename Decide>
void decideByMemory(benchmark::State& state, CertAcceptanceDecision::Decision expected,
                    const Decide& decide) {
    rememberOthers();
    const std::shared_ptr<CertificateData> data = std::make_shared<FixedData>(fingerprint());
    const std::shared_ptr<zeb::common::Policy> policy = PromptingBuilder().build();
    for (auto _ : state) {
        Statuses statuses{CertStatus::UNKNOWN};
        if (decide(data, statuses, policy) != expected) {
            state.SkipWithError("another decision");
            break;
        }
    }
    CertificateValidityCache::clear();
}

void checkAccepted(benchmark::State& state) {
    CertificateValidityCache::addAcceptedInvalidCertificate(fingerprint(), CertStatus::UNKNOWN);
    decideByMemory(
        state, CertAcceptanceDecision::YES, [](const auto& data, auto& statuses, const auto& policy) {
            return CertVerificationFailureManager::checkCertificateCachedDecision(data, statuses, policy);
        });
}
BENCHMARK(checkAccepted)->Name("checkCertificateCachedDecision/accepted");

const auto MANAGE = [](const auto& data, auto& statuses, const auto& policy) {
    return CertVerificationFailureManager::manageCertValidationFailure(data, "server.example.test", "Server",
                                                                       statuses, policy);
};

void manageAccepted(benchmark::State& state) {
    CertificateValidityCache::addAcceptedInvalidCertificate(fingerprint(), CertStatus::UNKNOWN);
    decideByMemory(state, CertAcceptanceDecision::YES, MANAGE);
}
BENCHMARK(manageAccepted)->Name("manageCertValidationFailure/accepted");

void manageRejected(benchmark::State& state) {
    CertificateValidityCache::addRejectedInvalidCertificate(fingerprint(), CertStatus::UNKNOWN);
    decideByMemory(state, CertAcceptanceDecision::NO, MANAGE);
}
BENCHMARK(manageRejected)->Name("manageCertValidationFailure/rejected");

void makeFingerprint(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(fingerprint());
    }
}
BENCHMARK(makeFingerprint)->Name("generateFingerprint");

/// One verification each, in turn, so that whatever else the machine does falls on both alike.
void verifyInTurn(benchmark::State& state) {
    rememberOthers();
    CertificateValidityCache::addAcceptedInvalidCertificate(fingerprint(), CertStatus::UNKNOWN);
    // What the trust store says is not what is measured here.
    CertVerifier trusting(std::make_shared<FakePlatform>(Statuses{CertStatus::VALID}));
    CertVerifier asking(std::make_shared<FakePlatform>(Statuses{CertStatus::UNKNOWN}));
    for (CertVerifier* const verifier : {&trusting, &asking}) {
        verifier->addPolicy(PromptingBuilder().build());
        // Without one each verification writes a warning.
        verifier->addPolicy(zeb::http::CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY);
    }
    std::vector<double> trustedTimes;
    std::vector<double> rememberedTimes;
    bool accepted = true;
    const auto verify = [&](CertVerifier& verifier) {
        accepted =
            verifier.verifyCertificate(server().get(), "server.example.test").result == CertResult::SUCCESS &&
            accepted;
    };
    for (auto _ : state) {
        trustedTimes.push_back(nanosecondsOf([&] { verify(trusting); }));
        rememberedTimes.push_back(nanosecondsOf([&] { verify(asking); }));
    }
    CertificateValidityCache::clear();
    if (!accepted) {
        state.SkipWithError("a verification failed");
        return;
    }
    const double trusted = medianOf(trustedTimes);
    const double remembered = medianOf(rememberedTimes);
    state.counters["trusted_ns"] = trusted;
    state.counters["remembered_ns"] = remembered;
    state.counters["added_ns"] = remembered - trusted;
    state.counters["ratio"] = remembered / trusted;
}
BENCHMARK(verifyInTurn)
    ->Name("CertVerifier/remembered_beside_trusted")
    ->UseRealTime()
    ->Iterations(5000)
    ->Repetitions(3);

}  // namespace

BENCHMARK_MAIN();

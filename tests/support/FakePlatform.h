#pragma once

#include "cert/common/CertStatus.h"
#include "cert/common/PlatformCertVerifier.h"

#include <atomic>
#include <set>
#include <utility>

namespace zeb::test {

/// A trust store that answers as it is told, and counts what it was asked. By default it trusts every chain.
class FakePlatform : public cert::PlatformCertVerifier {
public:
    using Statuses = std::set<cert::CertStatus::Status>;

    explicit FakePlatform(Statuses answer = {cert::CertStatus::VALID}) : answer_(std::move(answer)) {}

    Statuses verifyCertificate(const x509_st*) override {
        ++leaves;
        return answer_;
    }
    Statuses verifyCertificate(const x509_store_ctx_st*) override {
        ++chains;
        return answer_;
    }

    std::atomic<int> leaves{0};
    std::atomic<int> chains{0};

private:
    const Statuses answer_;
};

}  // namespace zeb::test

#pragma once

#include "BundleFolder.h"
#include "TestChain.h"
#include "cert/linux/LinuxCertVerifier.h"

#include <chrono>
#include <set>
#include <string>

#include <gtest/gtest.h>

namespace zeb::cert::test {

using Statuses = std::set<CertStatus::Status>;

const Statuses VALID_ONLY{CertStatus::VALID};
const Statuses UNKNOWN_ONLY{CertStatus::UNKNOWN};

/// The verifier over a folder of the test's, with a root, an authority under it and a server's certificate.
/// As soon as the kernel's clock has ticked after a change, a bundle is shared.
class LinuxCertVerifierTestBase : public testing::Test {
protected:
    LinuxCertVerifierTestBase() { LinuxCertVerifier::setTrustSourceForTests(&source_); }
    ~LinuxCertVerifierTestBase() override { LinuxCertVerifier::setTrustSourceForTests(nullptr); }

    Statuses verifyAlone(const IssuedCertificate& leaf) const {
        return verifier_->verifyCertificate(leaf.get());
    }
    Statuses verifySent(const IssuedCertificate& leaf, const std::vector<IssuedCertificate>& sent) const {
        return verifier_->verifyCertificate(HandshakeContext(leaf, sent).get());
    }

    /// Returns as soon as the store of the bundle is shared.
    void waitUntilShared(const std::string& bundle) {
        while (source_.cache.load(bundle) != source_.cache.load(bundle)) {
        }
    }

    const BundleFolder folder_;
    LinuxCertVerifier::TrustSource source_{folder_.path(), TrustStoreCache(std::chrono::nanoseconds(0))};
    const std::shared_ptr<PlatformCertVerifier> verifier_ = PlatformCertVerifier::createInstance();
    const IssuedCertificate root_ = issue("Root", nullptr, asAuthority());
    const IssuedCertificate authority_ = issue("Authority", &root_, asAuthority());
    const IssuedCertificate server_ = issue("server.example.test", &authority_);
};

}  // namespace zeb::cert::test

#include "LinuxCertVerifierTestSupport.h"
#include "cert/linux/LinuxCertVerifier.h"
#include "support/LogCapture.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert::test {
namespace {

using zeb::test::LogCapture;

class LinuxCertVerifierTest : public LinuxCertVerifierTestBase {
protected:
    ~LinuxCertVerifierTest() override {
        ::unsetenv("SSL_CERT_FILE");
        ::unsetenv("SSL_CERT_DIR");
    }

    /// All that the verifier has logged.
    std::vector<std::string> lines() const { return log_.linesOf("zeb.cert"); }

    LogCapture log_;
};

using Lines = std::vector<std::string>;
using X509Handle = std::unique_ptr<X509, decltype(&X509_free)>;

TEST_F(LinuxCertVerifierTest, AChainToARootOfTheBundleIsValidAndLogsNothing) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    EXPECT_EQ(VALID_ONLY, verifySent(server_, {authority_}));
    EXPECT_EQ(Lines{}, lines());
}

TEST_F(LinuxCertVerifierTest, WithNeitherBundleNothingIsTrustedAndTheLogTellsIt) {
    EXPECT_EQ(UNKNOWN_ONLY, verifySent(server_, {authority_, root_}));
    EXPECT_EQ((Lines{"load ca certs failed", "verify failed: 19"}), lines());
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "load ca certs failed"));
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "verify failed: 19"));
}

TEST_F(LinuxCertVerifierTest, AFolderThatDoesNotExistIsNoError) {
    LinuxCertVerifier::TrustSource nowhere{folder_.path() + "none/", TrustStoreCache()};
    LinuxCertVerifier::setTrustSourceForTests(&nowhere);
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(root_));
    EXPECT_EQ((Lines{"load ca certs failed", "verify failed: 18"}), lines());
}

TEST_F(LinuxCertVerifierTest, TheSecondBundleCountsOnlyWhereTheFirstIsMissing) {
    const IssuedCertificate other = issue("Other", nullptr, asAuthority());
    BundleFolder::rewrite(folder_.second(), root_.pem());
    EXPECT_EQ(VALID_ONLY, verifyAlone(authority_));
    BundleFolder::rewrite(folder_.first(), other.pem());
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(authority_));
    EXPECT_EQ(VALID_ONLY, verifyAlone(other));
    BundleFolder::remove(folder_.first());
    EXPECT_EQ(VALID_ONLY, verifyAlone(authority_));
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(other));
}

TEST_F(LinuxCertVerifierTest, AFolderOrALinkToNowhereInTheFirstPlaceIsNoBundle) {
    BundleFolder::rewrite(folder_.second(), root_.pem());
    std::filesystem::create_directory(folder_.first());
    EXPECT_EQ(VALID_ONLY, verifyAlone(authority_));
    BundleFolder::remove(folder_.first());
    std::filesystem::create_symlink(folder_.path() + "nowhere", folder_.first());
    EXPECT_EQ(VALID_ONLY, verifyAlone(authority_));
}

TEST_F(LinuxCertVerifierTest, ADamagedFirstBundleIsNotMadeUpForByTheSecond) {
    BundleFolder::rewrite(folder_.first(), root_.pem() + server_.pem().substr(0, 300));
    BundleFolder::rewrite(folder_.second(), root_.pem());
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(authority_));
    EXPECT_EQ(Lines{"verify failed: 20"}, lines()) << "the bundle is there: only the verification failed";
}

TEST_F(LinuxCertVerifierTest, ALeafByItselfIsValidOnlyUnderARootOfTheBundle) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    EXPECT_EQ(VALID_ONLY, verifyAlone(root_));
    EXPECT_EQ(VALID_ONLY, verifyAlone(authority_));
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(server_));
    BundleFolder::replace(folder_.first(), root_.pem() + authority_.pem());
    EXPECT_EQ(VALID_ONLY, verifyAlone(server_));
}

TEST_F(LinuxCertVerifierTest, WhatTheServerSendsIsNeverARoot) {
    BundleFolder::rewrite(folder_.first(), issue("Other", nullptr, asAuthority()).pem());
    EXPECT_EQ(UNKNOWN_ONLY, verifySent(server_, {authority_, root_}));
}

TEST_F(LinuxCertVerifierTest, WhatOneHandshakeSentIsNotThereForTheNext) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    waitUntilShared(folder_.first());
    EXPECT_EQ(VALID_ONLY, verifySent(server_, {authority_}));
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(server_));
    EXPECT_EQ(UNKNOWN_ONLY, verifySent(server_, {}));
}

TEST_F(LinuxCertVerifierTest, NoCertificateIsNotTrusted) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    EXPECT_EQ(UNKNOWN_ONLY, verifier_->verifyCertificate(static_cast<const X509*>(nullptr)));
    EXPECT_EQ(UNKNOWN_ONLY, verifier_->verifyCertificate(static_cast<const X509_STORE_CTX*>(nullptr)));
    const std::shared_ptr<X509_STORE_CTX> empty(X509_STORE_CTX_new(), &X509_STORE_CTX_free);
    EXPECT_EQ(UNKNOWN_ONLY, verifier_->verifyCertificate(static_cast<const X509_STORE_CTX*>(empty.get())));
    EXPECT_EQ(Lines(3, "verify failed: " + std::to_string(X509_V_ERR_INVALID_CALL)), lines());
}

TEST_F(LinuxCertVerifierTest, ACertificateThatHasNothingInItIsNotTrusted) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    const X509Handle blank(X509_new(), &X509_free);
    EXPECT_EQ(UNKNOWN_ONLY, verifier_->verifyCertificate(static_cast<const X509*>(blank.get())));
}

TEST_F(LinuxCertVerifierTest, NoEnvironmentVariableNamesAnotherBundle) {
    BundleFolder::rewrite(folder_.path() + "mine.pem", root_.pem());
    ::setenv("SSL_CERT_FILE", (folder_.path() + "mine.pem").c_str(), 1);
    ::setenv("SSL_CERT_DIR", folder_.path().c_str(), 1);
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(authority_));
    BundleFolder::rewrite(folder_.first(), issue("Other", nullptr, asAuthority()).pem());
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(authority_));
}

TEST_F(LinuxCertVerifierTest, TheErrorQueueIsLeftClean) {
    const IssuedCertificate forged =
        issue("forged.example.test", &root_, CertificateBuilder().brokenSignature());
    ERR_clear_error();
    const auto verifyAll = [&] {
        verifyAlone(forged);
        verifyAlone(server_);
        verifySent(server_, {authority_});
        verifier_->verifyCertificate(static_cast<const X509*>(nullptr));
        EXPECT_EQ(0UL, ERR_peek_error());
    };
    verifyAll();
    for (const std::string& bundle : {std::string(), std::string("damaged"), root_.pem() + "-----BEGIN",
                                      root_.pem() + root_.pem().substr(0, 200), root_.pem()}) {
        BundleFolder::rewrite(folder_.first(), bundle);
        verifyAll();
    }
    waitUntilShared(folder_.first());
    ERR_clear_error();
    verifyAll();
}

TEST_F(LinuxCertVerifierTest, AnErrorOfTheCallersStaysInTheQueueOfAVerificationWithTheSharedStore) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    waitUntilShared(folder_.first());
    ERR_clear_error();
    ERR_put_error(ERR_LIB_USER, 0, 42, __FILE__, __LINE__);
    EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(server_));
    EXPECT_EQ(42, ERR_GET_REASON(ERR_get_error()));
    EXPECT_EQ(0UL, ERR_get_error());
}

/// The first certificate of the system's bundle that is valid now; null when there is none.
X509Handle rootOfTheSystem() {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen("/etc/ssl/certs/ca-certificates.crt", "r"), &std::fclose);
    X509Handle root(nullptr, &X509_free);
    while (file != nullptr) {
        root.reset(PEM_read_X509(file.get(), nullptr, nullptr, nullptr));
        if (root == nullptr || (X509_cmp_current_time(X509_get0_notBefore(root.get())) < 0 &&
                                X509_cmp_current_time(X509_get0_notAfter(root.get())) > 0)) {
            break;
        }
    }
    return root;
}

TEST_F(LinuxCertVerifierTest, TheSystemsBundleIsTheDefault) {
    LinuxCertVerifier::setTrustSourceForTests(nullptr);
    const X509Handle root = rootOfTheSystem();
    if (root == nullptr) {
        GTEST_SKIP() << "no /etc/ssl/certs/ca-certificates.crt with a valid certificate on this machine";
    }
    for (int call = 0; call < 3; ++call) {
        EXPECT_EQ(VALID_ONLY, verifier_->verifyCertificate(static_cast<const X509*>(root.get())));
        EXPECT_EQ(UNKNOWN_ONLY, verifyAlone(root_));
    }
}

// --- In a handshake ---------------------------------------------------------------------------------------

struct SslDeleter {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    void operator()(SSL* connection) const { SSL_free(connection); }
};
using SslContextHandle = std::unique_ptr<SSL_CTX, SslDeleter>;
using SslHandle = std::unique_ptr<SSL, SslDeleter>;

int judge(X509_STORE_CTX* chain, void* verifier) {
    const Statuses statuses = static_cast<PlatformCertVerifier*>(verifier)->verifyCertificate(
        static_cast<const X509_STORE_CTX*>(chain));
    return statuses == VALID_ONLY ? 1 : 0;
}

/// True when a client that lets the verifier judge gets through the handshake.
bool shakesHands(PlatformCertVerifier& verifier, const IssuedCertificate& leaf,
                 const std::vector<IssuedCertificate>& sent) {
    const SslContextHandle serverContext(SSL_CTX_new(TLS_server_method()));
    SSL_CTX_use_certificate(serverContext.get(), leaf.get());
    SSL_CTX_use_PrivateKey(serverContext.get(), leaf.key.get());
    for (const IssuedCertificate& certificate : sent) {
        SSL_CTX_add1_chain_cert(serverContext.get(), certificate.get());
    }
    const SslContextHandle clientContext(SSL_CTX_new(TLS_client_method()));
    SSL_CTX_set_verify(clientContext.get(), SSL_VERIFY_PEER, nullptr);
    SSL_CTX_set_cert_verify_callback(clientContext.get(), &judge, &verifier);
    const SslHandle server(SSL_new(serverContext.get()));
    const SslHandle client(SSL_new(clientContext.get()));
    BIO* serverEnd = nullptr;
    BIO* clientEnd = nullptr;
    BIO_new_bio_pair(&serverEnd, 0, &clientEnd, 0);
    SSL_set_bio(server.get(), serverEnd, serverEnd);
    SSL_set_bio(client.get(), clientEnd, clientEnd);
    SSL_set_accept_state(server.get());
    SSL_set_connect_state(client.get());
    for (int step = 0; step < 20 && SSL_is_init_finished(client.get()) == 0; ++step) {
        SSL_do_handshake(client.get());
        SSL_do_handshake(server.get());
    }
    ERR_clear_error();
    return SSL_is_init_finished(client.get()) == 1;
}

TEST_F(LinuxCertVerifierTest, AHandshakeGoesOnOnlyWithAChainToARootOfTheBundle) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    EXPECT_TRUE(shakesHands(*verifier_, server_, {authority_}));
    EXPECT_FALSE(shakesHands(*verifier_, server_, {}));
    BundleFolder::remove(folder_.first());
    EXPECT_FALSE(shakesHands(*verifier_, server_, {authority_}));
    EXPECT_FALSE(shakesHands(*verifier_, server_, {authority_, root_}));
}

// --- A bundle that changes --------------------------------------------------------------------------------

TEST_F(LinuxCertVerifierTest, ChangesOfTheBundleUnderEightThreadsCountFromTheNextCallOn) {
    const std::string other = issue("Other", nullptr, asAuthority()).pem();
    BundleFolder::rewrite(folder_.first(), root_.pem());
    std::atomic<bool> done{false};
    std::atomic<unsigned> valid{0};
    std::atomic<unsigned> unknown{0};
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            const HandshakeContext handshake(server_, {authority_});
            while (!done) {
                const Statuses statuses = verifier_->verifyCertificate(handshake.get());
                EXPECT_EQ(1U, statuses.size());
                ++(statuses == VALID_ONLY ? valid : unknown);
                EXPECT_EQ(0UL, ERR_peek_error());
            }
        });
    }
    const auto expectNow = [&](const Statuses& statuses) {
        EXPECT_EQ(statuses, verifySent(server_, {authority_}));
    };
    for (int round = 0; round < 10 || valid == 0 || unknown == 0; ++round) {
        BundleFolder::replace(folder_.first(), other);
        expectNow(UNKNOWN_ONLY);
        waitUntilShared(folder_.first());
        expectNow(UNKNOWN_ONLY);
        BundleFolder::replace(folder_.first(), other + root_.pem());
        expectNow(VALID_ONLY);
        waitUntilShared(folder_.first());
        expectNow(VALID_ONLY);
        BundleFolder::rewrite(folder_.first(), "");
        expectNow(UNKNOWN_ONLY);
        BundleFolder::rewrite(folder_.first(), root_.pem());
        expectNow(VALID_ONLY);
        BundleFolder::remove(folder_.first());
        expectNow(UNKNOWN_ONLY);
        BundleFolder::rewrite(folder_.first(), root_.pem());
        expectNow(VALID_ONLY);
        waitUntilShared(folder_.first());
        expectNow(VALID_ONLY);
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(LinuxCertVerifierTest, ManyThreadsWithOneStoreAllGetTheirOwnAnswer) {
    BundleFolder::rewrite(folder_.first(), root_.pem());
    waitUntilShared(folder_.first());
    const IssuedCertificate stranger = issue("stranger.example.test", nullptr);
    std::vector<std::thread> threads;
    threads.reserve(16);
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([&, trusted = i % 2 == 0] {
            for (int call = 0; call < 50; ++call) {
                EXPECT_EQ(trusted ? VALID_ONLY : UNKNOWN_ONLY,
                          trusted ? verifySent(server_, {authority_}) : verifySent(stranger, {authority_}));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace zeb::cert::test

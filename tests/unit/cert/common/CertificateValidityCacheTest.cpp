#include "cert/common/CertCacheInterface.h"
#include "cert/common/CertificateValidityCache.h"
#include "support/CertificateBuilder.h"
#include "support/LogCapture.h"

#include <atomic>
#include <cstdio>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::cert {
namespace {

using Cache = CertificateValidityCache;
using Statuses = std::set<CertStatus::Status>;
using testing::IsEmpty;
using testing::MatchesRegex;

/// What OpenSSL's digest of the DER gives, written by another hand.
std::string digestOf(const test::IssuedCertificate& certificate, const EVP_MD* type) {
    const std::string der = certificate.der();
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    EXPECT_EQ(1, EVP_Digest(der.data(), der.size(), digest, &size, type, nullptr));
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        char byte[4];
        std::snprintf(byte, sizeof(byte), "%02x ", digest[i]);
        text += byte;
    }
    return text;
}

class CertificateValidityCacheTest : public testing::Test {
protected:
    ~CertificateValidityCacheTest() override { Cache::clear(); }

    static void fillAllThree(const std::string& fingerprint, const X509* certificate) {
        Cache::addAcceptedInvalidCertificate(fingerprint, CertStatus::EXPIRED);
        Cache::addRejectedInvalidCertificate(fingerprint, CertStatus::WEAK_KEY);
        Cache::addAcceptedValidCertificate(certificate);
    }

    const test::IssuedCertificate certificate = test::CertificateBuilder().commonName("a.test").build();
    const test::IssuedCertificate other = test::CertificateBuilder().commonName("b.test").build();
    const std::string fingerprint = Cache::generateFingerprint(certificate.get());
};

TEST_F(CertificateValidityCacheTest, AFingerprintIsThreeCharactersPerByteInLowerCaseEndingInABlank) {
    EXPECT_EQ(60U, fingerprint.size());
    EXPECT_EQ(digestOf(certificate, EVP_sha1()), fingerprint);
    EXPECT_THAT(fingerprint, MatchesRegex("([0-9a-f][0-9a-f] )+"));
    EXPECT_NE(fingerprint, Cache::generateFingerprint(other.get()));
}

TEST_F(CertificateValidityCacheTest, AFingerprintIsMadeWithAnyDigest) {
    EXPECT_EQ(digestOf(certificate, EVP_sha256()),
              Cache::generateFingerprint(certificate.get(), EVP_sha256()));
    EXPECT_EQ(96U, Cache::generateFingerprint(certificate.get(), EVP_sha256()).size());
    EXPECT_EQ(EVP_sha1(), Cache::defaultType);
}

TEST_F(CertificateValidityCacheTest, WithoutACertificateOrADigestTheFingerprintIsEmptyAndTheLogSaysSo) {
    const test::LogCapture capture;
    EXPECT_EQ("", Cache::generateFingerprint(nullptr));
    EXPECT_EQ("", Cache::generateFingerprint(nullptr, EVP_sha256()));
    EXPECT_EQ("", Cache::generateFingerprint(certificate.get(), nullptr));
    EXPECT_EQ(3U, capture.count("Could not generate fingerprint."));
    EXPECT_TRUE(capture.contains(ZEBLOG_ERROR, "Could not generate fingerprint."));
}

TEST_F(CertificateValidityCacheTest, WhatIsNotThereIsAnEmptySet) {
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue("nobody"), IsEmpty());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue("nobody"), IsEmpty());
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(certificate.get()), IsEmpty());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(certificate.get()), IsEmpty());
    EXPECT_FALSE(Cache::findInAcceptedValidCache("nobody"));
    EXPECT_FALSE(Cache::findInAcceptedValidCache(certificate.get()));
    EXPECT_THAT(Cache::getAcceptedValidFingerprints(), IsEmpty());
}

TEST_F(CertificateValidityCacheTest, AcceptancesAccumulateTheirStatusesInAllFourForms) {
    Cache::addAcceptedInvalidCertificate(fingerprint, CertStatus::EXPIRED);
    Cache::addAcceptedInvalidCertificate(fingerprint, {CertStatus::UNKNOWN, CertStatus::WEAK_KEY});
    Cache::addAcceptedInvalidCertificate(certificate.get(), CertStatus::CN_NO_MATCH);
    Cache::addAcceptedInvalidCertificate(certificate.get(), Statuses{CertStatus::WRONG_USAGE});
    const Statuses all{CertStatus::EXPIRED, CertStatus::UNKNOWN, CertStatus::WEAK_KEY,
                       CertStatus::CN_NO_MATCH, CertStatus::WRONG_USAGE};
    EXPECT_EQ(all, Cache::getAcceptedInvalidCacheValue(fingerprint));
    EXPECT_EQ(all, Cache::getAcceptedInvalidCacheValue(certificate.get()));
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(other.get()), IsEmpty());
}

TEST_F(CertificateValidityCacheTest, RejectionsAccumulateTheirStatusesInAllFourForms) {
    Cache::addRejectedInvalidCertificate(fingerprint, CertStatus::EXPIRED);
    Cache::addRejectedInvalidCertificate(fingerprint, {CertStatus::UNKNOWN, CertStatus::WEAK_KEY});
    Cache::addRejectedInvalidCertificate(certificate.get(), CertStatus::CN_NO_MATCH);
    Cache::addRejectedInvalidCertificate(certificate.get(), Statuses{CertStatus::WRONG_USAGE});
    const Statuses all{CertStatus::EXPIRED, CertStatus::UNKNOWN, CertStatus::WEAK_KEY,
                       CertStatus::CN_NO_MATCH, CertStatus::WRONG_USAGE};
    EXPECT_EQ(all, Cache::getRejectedInvalidCacheValue(fingerprint));
    EXPECT_EQ(all, Cache::getRejectedInvalidCacheValue(certificate.get()));
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(fingerprint), IsEmpty());
}

TEST_F(CertificateValidityCacheTest, EachRemovalTakesItsOwnEntryAlone) {
    fillAllThree(fingerprint, certificate.get());
    Cache::removeFromAcceptedInvalidCache(fingerprint);
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_EQ(Statuses{CertStatus::WEAK_KEY}, Cache::getRejectedInvalidCacheValue(fingerprint));
    Cache::removeFromRejectedInvalidCache(fingerprint);
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_TRUE(Cache::findInAcceptedValidCache(fingerprint));
}

TEST_F(CertificateValidityCacheTest, RemovalsKnowCertificates) {
    fillAllThree(fingerprint, certificate.get());
    Cache::removeFromAcceptedInvalidCache(other.get());
    Cache::removeFromRejectedInvalidCache(other.get());
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, Cache::getAcceptedInvalidCacheValue(fingerprint));
    EXPECT_EQ(Statuses{CertStatus::WEAK_KEY}, Cache::getRejectedInvalidCacheValue(fingerprint));
    Cache::removeFromAcceptedInvalidCache(certificate.get());
    Cache::removeFromRejectedInvalidCache(certificate.get());
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(fingerprint), IsEmpty());
}

TEST_F(CertificateValidityCacheTest, AnEntryThatChangedSinceItWasReadIsNotRemoved) {
    fillAllThree(fingerprint, certificate.get());
    Cache::removeFromAcceptedInvalidCache(fingerprint, Statuses{});
    Cache::removeFromRejectedInvalidCache(fingerprint, Statuses{CertStatus::EXPIRED});
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, Cache::getAcceptedInvalidCacheValue(fingerprint));
    EXPECT_EQ(Statuses{CertStatus::WEAK_KEY}, Cache::getRejectedInvalidCacheValue(fingerprint));
    Cache::removeFromAcceptedInvalidCache(fingerprint, Statuses{CertStatus::EXPIRED});
    Cache::removeFromRejectedInvalidCache(fingerprint, Statuses{CertStatus::WEAK_KEY});
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(fingerprint), IsEmpty());
}

TEST_F(CertificateValidityCacheTest, AValidCertificateIsFoundInEveryForm) {
    Cache::addAcceptedValidCertificate(certificate.get());
    EXPECT_TRUE(Cache::findInAcceptedValidCache(certificate.get()));
    EXPECT_TRUE(Cache::findInAcceptedValidCache(fingerprint));
    EXPECT_EQ(std::set<std::string>{fingerprint}, Cache::getAcceptedValidFingerprints());
    EXPECT_TRUE(Cache::verifyValidCertificate(certificate.get()));
    EXPECT_TRUE(Cache::verifyAcceptedCertificate(certificate.get()));
}

TEST_F(CertificateValidityCacheTest, AnInvalidOneThatWasAcceptedIsAcceptedButNotValid) {
    Cache::addAcceptedInvalidCertificate(certificate.get(), CertStatus::EXPIRED);
    EXPECT_TRUE(Cache::verifyAcceptedCertificate(certificate.get()));
    const test::LogCapture capture;
    EXPECT_FALSE(Cache::verifyValidCertificate(certificate.get()));
    EXPECT_TRUE(capture.contains("Fingerprint is not trusted as valid!"));
}

TEST_F(CertificateValidityCacheTest, ARejectedOneIsNotAccepted) {
    Cache::addRejectedInvalidCertificate(certificate.get(), CertStatus::EXPIRED);
    const test::LogCapture capture;
    EXPECT_FALSE(Cache::verifyAcceptedCertificate(certificate.get()));
    EXPECT_TRUE(capture.contains("Fingerprint is not trusted!"));
}

TEST_F(CertificateValidityCacheTest, WithoutACertificateNothingIsAcceptedWhateverIsStored) {
    fillAllThree("", nullptr);
    const test::LogCapture capture;
    EXPECT_FALSE(Cache::verifyAcceptedCertificate(nullptr));
    EXPECT_FALSE(Cache::verifyValidCertificate(nullptr));
    EXPECT_EQ(2U, capture.count("Fingerprint was empty!"));
    EXPECT_TRUE(capture.contains(ZEBLOG_INFO, "Fingerprint was empty!"));
    EXPECT_EQ(Statuses{CertStatus::EXPIRED}, Cache::getAcceptedInvalidCacheValue(""));
}

TEST_F(CertificateValidityCacheTest, TheHostsClearRemovesAllThreeStores) {
    fillAllThree(fingerprint, certificate.get());
    const test::LogCapture capture;
    CertCacheInterface::clearInvalidCertificateCache();
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_THAT(Cache::getRejectedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_THAT(Cache::getAcceptedValidFingerprints(), IsEmpty());
    EXPECT_TRUE(capture.contains("Clearing accepted and rejected certificates from memory"));
}

TEST_F(CertificateValidityCacheTest, TheHostsClearOfAcceptancesKeepsRejectionsAndValidOnes) {
    fillAllThree(fingerprint, certificate.get());
    const test::LogCapture capture;
    CertCacheInterface::clearAcceptedInvalidCerts();
    EXPECT_THAT(Cache::getAcceptedInvalidCacheValue(fingerprint), IsEmpty());
    EXPECT_EQ(Statuses{CertStatus::WEAK_KEY}, Cache::getRejectedInvalidCacheValue(fingerprint));
    EXPECT_TRUE(Cache::findInAcceptedValidCache(fingerprint));
    EXPECT_TRUE(capture.contains("Clearing accepted invalid certificates from memory"));
}

TEST_F(CertificateValidityCacheTest, AnyThreadMayReadWriteAndClear) {
    constexpr int ROUNDS = 300;
    const Statuses both{CertStatus::EXPIRED, CertStatus::UNKNOWN};
    std::atomic<int> torn{0};
    const auto checkWhole = [&](const Statuses& seen) { torn += seen.empty() || seen == both ? 0 : 1; };
    std::vector<std::thread> threads;
    for (int worker = 0; worker < 4; ++worker) {
        threads.emplace_back([&, worker] {
            const std::string key = std::to_string(worker % 2);
            for (int round = 0; round < ROUNDS; ++round) {
                Cache::addAcceptedInvalidCertificate(key, both);
                Cache::addRejectedInvalidCertificate(key, both);
                Cache::addAcceptedValidCertificate(certificate.get());
                checkWhole(Cache::getAcceptedInvalidCacheValue(key));
                checkWhole(Cache::getRejectedInvalidCacheValue(key));
                torn += Cache::getAcceptedValidFingerprints().size() > 1 ? 1 : 0;
                Cache::removeFromRejectedInvalidCache(key);
            }
        });
    }
    threads.emplace_back([&] {
        for (int round = 0; round < ROUNDS; ++round) {
            Cache::clear();
            Cache::clearAcceptedInvalidCerts();
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, torn);
}

}  // namespace
}  // namespace zeb::cert

#include "BundleFolder.h"
#include "FstatSeam.h"
#include "TestChain.h"
#include "cert/linux/TrustStoreCache.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <sys/resource.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert::test {
namespace {

using Store = TrustStoreCache::Store;
using std::chrono::nanoseconds;

/// Takes even a change of this moment for settled.
constexpr nanoseconds SETTLED_AT_ONCE = -std::chrono::hours(1);

/// The certificates and revocation lists of a store, as their DER.
std::vector<std::string> contentOf(X509_STORE* store) {
    std::vector<std::string> content;
    const STACK_OF(X509_OBJECT)* const objects = X509_STORE_get0_objects(store);
    for (int i = 0; i < sk_X509_OBJECT_num(objects); ++i) {
        X509_OBJECT* const object = sk_X509_OBJECT_value(objects, i);
        unsigned char* der = nullptr;
        const int size = X509_OBJECT_get0_X509(object) != nullptr
                             ? i2d_X509_AUX(X509_OBJECT_get0_X509(object), &der)
                             : i2d_X509_CRL(X509_OBJECT_get0_X509_CRL(object), &der);
        content.emplace_back(reinterpret_cast<char*>(der), static_cast<std::size_t>(size));
        OPENSSL_free(der);
    }
    return content;
}

/// What OpenSSL itself makes of a bundle.
std::vector<std::string> contentByOpenSsl(const std::string& path) {
    const Store store(X509_STORE_new(), &X509_STORE_free);
    X509_LOOKUP* const lookup = X509_STORE_add_lookup(store.get(), X509_LOOKUP_file());
    X509_LOOKUP_ctrl(lookup, X509_L_FILE_LOAD, path.c_str(), X509_FILETYPE_PEM, nullptr);
    return contentOf(store.get());
}

/// A bundle of just that certificate, and of one size whichever it is.
std::string bundleOf(const IssuedCertificate& certificate) {
    std::string bundle = certificate.pem();
    bundle.resize(2000, '\n');
    return bundle;
}

class TrustStoreCacheTest : public testing::Test {
protected:
    ~TrustStoreCacheTest() override { ERR_clear_error(); }

    void expectContent(const IssuedCertificate& certificate) {
        EXPECT_EQ(std::vector<std::string>{certificate.der()}, contentOf(cache_.load(bundle_).get()));
    }
    void expectNothing() { EXPECT_TRUE(contentOf(cache_.load(bundle_).get()).empty()); }

    /// Returns as soon as the store is shared: once the clock of the file system has ticked.
    void waitUntilShared() {
        while (cache_.load(bundle_) != cache_.load(bundle_)) {
        }
    }

    const BundleFolder folder_;
    const std::string bundle_ = folder_.first();
    const IssuedCertificate one_ = issue("One", nullptr, asAuthority());
    const IssuedCertificate other_ = issue("Other", nullptr, asAuthority());
    TrustStoreCache cache_{nanoseconds(0)};
};

TEST_F(TrustStoreCacheTest, TheStoreIsSharedWhileTheBundleIsTheSameFile) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    waitUntilShared();
    const Store store = cache_.load(bundle_);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(store, cache_.load(bundle_));
    }
    expectContent(one_);
}

TEST_F(TrustStoreCacheTest, TheSameFileUnderAnotherNameIsTheSameFile) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    std::filesystem::create_symlink(bundle_, folder_.second());
    waitUntilShared();
    EXPECT_EQ(cache_.load(bundle_), cache_.load(folder_.second()));
}

TEST_F(TrustStoreCacheTest, ABundleThatChangedAMomentAgoIsLoadedForEachCall) {
    TrustStoreCache cache{std::chrono::hours(1)};
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    const Store store = cache.load(bundle_);
    EXPECT_NE(store, cache.load(bundle_));
    EXPECT_EQ(contentOf(store.get()), contentOf(cache.load(bundle_).get()));
}

TEST_F(TrustStoreCacheTest, AReplacedBundleCountsFromTheNextCallOn) {
    BundleFolder::replace(bundle_, bundleOf(one_));
    waitUntilShared();
    BundleFolder::replace(bundle_, bundleOf(other_));
    expectContent(other_);
    waitUntilShared();
    expectContent(other_);
}

TEST_F(TrustStoreCacheTest, ABundleRewrittenInPlaceCountsFromTheNextCallOn) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    waitUntilShared();
    BundleFolder::rewrite(bundle_, bundleOf(other_));
    expectContent(other_);
}

TEST_F(TrustStoreCacheTest, ABundleRewrittenInPlaceWithItsOldTimeCountsFromTheNextCallOn) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    waitUntilShared();
    const struct stat before = BundleFolder::statusOf(bundle_);
    BundleFolder::rewrite(bundle_, bundleOf(other_));
    BundleFolder::setContentChange(bundle_, before.st_mtim);
    const struct stat after = BundleFolder::statusOf(bundle_);
    ASSERT_EQ(before.st_ino, after.st_ino);
    ASSERT_EQ(before.st_size, after.st_size);
    ASSERT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
    expectContent(other_);
}

TEST_F(TrustStoreCacheTest, AFileThatDiffersInOneThingAloneIsAnotherFile) {
    const std::function<void(struct stat&)> changes[] = {
        [](struct stat& status) { ++status.st_dev; },
        [](struct stat& status) { ++status.st_ino; },
        [](struct stat& status) { ++status.st_size; },
        [](struct stat& status) { ++status.st_mtim.tv_sec; },
        [](struct stat& status) { ++status.st_mtim.tv_nsec; },
        [](struct stat& status) { --status.st_ctim.tv_sec; },
        [](struct stat& status) { --status.st_ctim.tv_nsec; },
    };
    for (const auto& change : changes) {
        BundleFolder::rewrite(bundle_, bundleOf(one_));
        waitUntilShared();
        const Store store = cache_.load(bundle_);
        {
            const FstatSeam seam(change);
            EXPECT_NE(store, cache_.load(bundle_));
        }
        EXPECT_NE(store, cache_.load(bundle_)) << "the other one has been kept in its place";
    }
}

TEST_F(TrustStoreCacheTest, ATruncatedBundleGivesNothingAndARestoredOneIsBack) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    waitUntilShared();
    BundleFolder::rewrite(bundle_, "");
    expectNothing();
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    expectContent(one_);
}

TEST_F(TrustStoreCacheTest, ARemovedBundleGivesNothingAndOneMovedBackIsBack) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    waitUntilShared();
    std::filesystem::rename(bundle_, bundle_ + ".away");
    expectNothing();
    std::filesystem::rename(bundle_ + ".away", bundle_);
    expectContent(one_);
}

/// As on a file system whose time stamps are two seconds apart.
void coarsen(struct stat& status) {
    for (timespec* const time : {&status.st_mtim, &status.st_ctim}) {
        time->tv_sec -= time->tv_sec % 2;
        time->tv_nsec = 0;
    }
}

TEST_F(TrustStoreCacheTest, ChangesThatNoTimeStampTellsApartCountFromTheNextCallOn) {
    TrustStoreCache cache;
    const FstatSeam seam(&coarsen);
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    for (int i = 0; i < 100; ++i) {
        const IssuedCertificate& written = i % 2 == 0 ? other_ : one_;
        std::fstream file(bundle_, std::ios::binary | std::ios::in | std::ios::out);
        file << bundleOf(written) << std::flush;
        ASSERT_EQ(std::vector<std::string>{written.der()}, contentOf(cache.load(bundle_).get())) << i;
    }
}

TEST_F(TrustStoreCacheTest, ABundleRewrittenWhileItIsReadCountsAsItIsFromTheNextCallOn) {
    for (const int lookBeforeTheChange : {1, 2}) {
        SCOPED_TRACE(lookBeforeTheChange);
        TrustStoreCache cache{SETTLED_AT_ONCE};
        BundleFolder::rewrite(bundle_, bundleOf(one_));
        {
            int looks = 0;
            const FstatSeam seam([&](struct stat& /*status*/) {
                if (++looks == lookBeforeTheChange) {
                    BundleFolder::rewrite(bundle_, bundleOf(other_));
                }
            });
            EXPECT_EQ(1U, contentOf(cache.load(bundle_).get()).size());
            EXPECT_EQ(2, looks);
        }
        EXPECT_EQ(std::vector<std::string>{other_.der()}, contentOf(cache.load(bundle_).get()));
        EXPECT_EQ(cache.load(bundle_), cache.load(bundle_));
    }
}

TEST_F(TrustStoreCacheTest, AStoreInUseOutlivesTheNextOneAndTheCache) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    Store held;
    {
        TrustStoreCache cache{SETTLED_AT_ONCE};
        held = cache.load(bundle_);
        BundleFolder::rewrite(bundle_, bundleOf(other_));
        EXPECT_NE(held, cache.load(bundle_));
    }
    EXPECT_EQ(std::vector<std::string>{one_.der()}, contentOf(held.get()));
}

TEST_F(TrustStoreCacheTest, ABundleThatCannotBeOpenedAnyMoreGivesNothingThoughItIsTheSameFile) {
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    waitUntilShared();
    rlimit before{};
    ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before));
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
    const Store store = cache_.load(bundle_);
    ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &before));
    EXPECT_TRUE(contentOf(store.get()).empty());
    expectContent(one_);
}

TEST_F(TrustStoreCacheTest, WhatIsNoRegularFileIsReadForEachCall) {
    ASSERT_EQ(0, ::mkfifo(bundle_.c_str(), S_IRUSR | S_IWUSR));
    TrustStoreCache cache{SETTLED_AT_ONCE};
    const FstatSeam seam([](struct stat& status) { status.st_mtim = status.st_ctim = {}; });
    for (const IssuedCertificate& certificate : {one_, other_}) {
        std::thread writer([&] { std::ofstream(bundle_) << bundleOf(certificate); });
        EXPECT_EQ(std::vector<std::string>{certificate.der()}, contentOf(cache.load(bundle_).get()));
        writer.join();
    }
}

TEST_F(TrustStoreCacheTest, AFolderGivesNothing) {
    EXPECT_TRUE(contentOf(cache_.load(folder_.path()).get()).empty());
}

TEST_F(TrustStoreCacheTest, AnEmptyNameGivesNothing) {
    EXPECT_TRUE(contentOf(cache_.load("").get()).empty());
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(std::string::npos, at);
    return text.replace(at, from.size(), to);
}

std::string withCrLf(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return result;
}

/// An unencrypted key, or one that needs a password.
std::string keyPem(const IssuedCertificate& certificate, const char* password) {
    BIO* const bio = BIO_new(BIO_s_mem());
    PEM_write_bio_PrivateKey_traditional(
        bio, certificate.key.get(), password != nullptr ? EVP_aes_128_cbc() : nullptr,
        reinterpret_cast<const unsigned char*>(password), password != nullptr ? 6 : 0, nullptr, nullptr);
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    const std::string text(data, static_cast<std::size_t>(size));
    BIO_free(bio);
    return text;
}

/// A certificate under a password, which few have ever seen, but PEM has it.
std::string encryptedPem(const IssuedCertificate& certificate) {
    BIO* const bio = BIO_new(BIO_s_mem());
    char password[] = "secret";
    PEM_ASN1_write_bio(reinterpret_cast<i2d_of_void*>(&i2d_X509), PEM_STRING_X509, bio, certificate.get(),
                       EVP_aes_128_cbc(), reinterpret_cast<unsigned char*>(password), 6, nullptr, nullptr);
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    const std::string text(data, static_cast<std::size_t>(size));
    BIO_free(bio);
    return text;
}

TEST_F(TrustStoreCacheTest, WhateverIsInTheFileTheStoreIsWhatOpenSslMakesOfIt) {
    const std::string one = one_.pem();
    const std::string other = other_.pem();
    const std::string list = revocationListPemOf(one_);
    struct Row {
        const char* name;
        std::string content;
        std::size_t objects;
    };
    const std::vector<Row> rows = {
        {"nothing", "", 0},
        {"a line break", "\n", 0},
        {"no PEM", "This is no bundle.\n", 0},
        {"a thousand NULs", std::string(1000, '\0'), 0},
        {"a line without an end", std::string(1 << 20, 'A'), 0},
        {"one certificate", one, 1},
        {"two certificates", one + other, 2},
        {"the same one twice", one + one, 1},
        {"text around and between", "# One\n" + one + "\n\nOther:\n" + other + "end", 2},
        {"lines that end as on other systems", withCrLf(one + other), 2},
        {"the old label", replaced(replaced(one, "BEGIN ", "BEGIN X509 "), "END ", "END X509 "), 1},
        {"a revocation list alone", list, 1},
        {"a certificate and a revocation list", one + list, 2},
        {"a certificate with trust settings", rejectedPemOf(one_) + other, 2},
        {"a label that nobody knows", one + "-----BEGIN THING-----\nQUJD\n-----END THING-----\n" + other, 2},
        {"a key", one + keyPem(one_, nullptr) + other, 2},
        {"a key under a password", one + keyPem(one_, "secret") + other, 2},
        {"a certificate under a password", one + encryptedPem(other_), 0},
        {"the end cut off", one + other.substr(0, other.size() / 2), 0},
        {"the last line cut off", one + other.substr(0, other.size() - 30), 0},
        {"the beginning cut off", one.substr(40) + other, 1},
        {"a letter that is not base64", one + replaced(other, "\nMII", "\nM*I"), 0},
        {"base64 of something else", replaced(one, "\nMII", "\nAAA") + other, 0},
        {"damage before a good one", replaced(one, "\nMII", "\nM*I") + other, 0},
        {"an empty certificate", one + "-----BEGIN CERTIFICATE-----\n-----END CERTIFICATE-----\n", 0},
        {"labels that differ", one + replaced(other, "END CERTIFICATE", "END X509 CRL"), 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        BundleFolder::rewrite(bundle_, row.content);
        const Store store = cache_.load(bundle_);
        EXPECT_EQ(contentByOpenSsl(bundle_), contentOf(store.get()));
        EXPECT_EQ(row.objects, contentOf(store.get()).size());
    }
}

TEST_F(TrustStoreCacheTest, ChangesUnderEightThreadsCountFromTheNextCallOn) {
    std::atomic<bool> done{false};
    BundleFolder::rewrite(bundle_, bundleOf(one_));
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            while (!done) {
                const Store store = cache_.load(bundle_);
                EXPECT_LE(contentOf(store.get()).size(), 1U);
            }
            ERR_clear_error();
        });
    }
    for (int round = 0; round < 25; ++round) {
        BundleFolder::replace(bundle_, bundleOf(other_));
        expectContent(other_);
        waitUntilShared();
        BundleFolder::remove(bundle_);
        expectNothing();
        BundleFolder::rewrite(bundle_, bundleOf(one_));
        expectContent(one_);
        waitUntilShared();
        BundleFolder::rewrite(bundle_, "");
        expectNothing();
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace zeb::cert::test

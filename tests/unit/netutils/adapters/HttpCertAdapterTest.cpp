#include "cert/common/CertResult.h"
#include "cert/common/CertVerifier.h"
#include "netutils/adapters/HttpCertAdapter.h"
#include "support/CertificateBuilder.h"
#include "support/FakePlatform.h"
#include "support/LogCapture.h"
#include "support/StoreContext.h"
#include "zeblogger/ZEBLogger.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::netutils::adapters::test {
namespace {

using cert::CertResult;
using zeb::test::CertificateBuilder;
using zeb::test::FakePlatform;
using zeb::test::IssuedCertificate;
using zeb::test::LogCapture;
using zeb::test::StoreContext;
using Names = http::CertVerifier::Names;

constexpr char IDENTIFIER[] = "identifier.test";
constexpr char SNI[] = "sni.test";
constexpr char SHOWN[] = "Shown";

/// Answers as it is told and keeps which overload was asked for what.
class FakeVerifier : public cert::CertVerifier {
public:
    explicit FakeVerifier(CertResult::Result answer) : CertVerifier(nullptr), answer_(answer) {}

    using Text = const std::string&;
    using List = const Names&;

    CertResult verifyCertificate(const x509_st* c, Text a) override { return take(c, "t", {a}); }
    CertResult verifyCertificate(const x509_st* c, Text a, Text b) override { return take(c, "tt", {a, b}); }
    CertResult verifyCertificate(const x509_st* c, List l) override { return take(c, "l", {}, l); }
    CertResult verifyCertificate(const x509_st* c, Text a, List l) override { return take(c, "tl", {a}, l); }
    CertResult verifyCertificate(const x509_st* c, List l, Text a) override { return take(c, "lt", {a}, l); }
    CertResult verifyCertificate(const x509_st* c, Text a, List l, Text b) override {
        return take(c, "tlt", {a, b}, l);
    }
    CertResult verifyCertificate(const x509_st* c, Text a, Text b, List l) override {
        return take(c, "ttl", {a, b}, l);
    }
    CertResult verifyCertificate(const x509_st* c, Text a, Text b, List l, Text d) override {
        return take(c, "ttlt", {a, b, d}, l);
    }
    CertResult verifyCertificate(const x509_store_ctx_st* c, Text a) override { return take(c, "t", {a}); }
    CertResult verifyCertificate(const x509_store_ctx_st* c, Text a, Text b) override {
        return take(c, "tt", {a, b});
    }
    CertResult verifyCertificate(const x509_store_ctx_st* c, List l) override { return take(c, "l", {}, l); }
    CertResult verifyCertificate(const x509_store_ctx_st* c, Text a, List l) override {
        return take(c, "tl", {a}, l);
    }
    CertResult verifyCertificate(const x509_store_ctx_st* c, List l, Text a) override {
        return take(c, "lt", {a}, l);
    }
    CertResult verifyCertificate(const x509_store_ctx_st* c, Text a, List l, Text b) override {
        return take(c, "tlt", {a, b}, l);
    }
    CertResult verifyCertificate(const x509_store_ctx_st* c, Text a, Text b, List l) override {
        return take(c, "ttl", {a, b}, l);
    }
    CertResult verifyCertificate(const x509_store_ctx_st* c, Text a, Text b, List l, Text d) override {
        return take(c, "ttlt", {a, b, d}, l);
    }

    const void* certificate = nullptr;
    std::string overload;
    Names texts;
    Names list;

private:
    CertResult take(const void* given, const std::string& which, const Names& givenTexts,
                    const Names& givenList = {}) {
        certificate = given;
        overload = which;
        texts = givenTexts;
        list = givenList;
        CertResult result;
        result.result = answer_;
        result.identifierStatus = cert::CertIdentifierStatus(cert::CertIdentifierStatus::SUCCESS, IDENTIFIER);
        return result;
    }

    const CertResult::Result answer_;
};

struct Row {
    std::function<bool(http::CertVerifier&)> call;
    std::string overload;
    Names texts;
    bool withList;
};

const Names LIST{"one.test", "two.test"};

template <typename Certificate>
std::vector<Row> rowsFor(const Certificate* c) {
    return {
        {[=](http::CertVerifier& v) { return v.verifyCertificate(c, std::string(IDENTIFIER)); },
         "t",
         {IDENTIFIER},
         false},
        {[=](http::CertVerifier& v) {
             return v.verifyCertificate(c, std::string(IDENTIFIER), std::string(SHOWN));
         },
         "tt",
         {IDENTIFIER, SHOWN},
         false},
        {[=](http::CertVerifier& v) { return v.verifyCertificate(c, LIST); }, "l", {}, true},
        {[=](http::CertVerifier& v) { return v.verifyCertificate(c, IDENTIFIER, LIST); },
         "tl",
         {IDENTIFIER},
         true},
        {[=](http::CertVerifier& v) { return v.verifyCertificate(c, LIST, SHOWN); }, "lt", {SHOWN}, true},
        {[=](http::CertVerifier& v) { return v.verifyCertificate(c, IDENTIFIER, LIST, SHOWN); },
         "tlt",
         {IDENTIFIER, SHOWN},
         true},
        {[=](http::CertVerifier& v) { return v.verifyCertificate(c, SNI, IDENTIFIER, LIST); },
         "ttl",
         {SNI, IDENTIFIER},
         true},
        {[=](http::CertVerifier& v) { return v.verifyCertificate(c, SNI, IDENTIFIER, LIST, SHOWN); },
         "ttlt",
         {SNI, IDENTIFIER, SHOWN},
         true},
    };
}

class HttpCertAdapterTest : public testing::Test {
protected:
    const IssuedCertificate issued_ = CertificateBuilder().dnsNames({IDENTIFIER}).build();
    const StoreContext context_{issued_};
    const x509_st* const certificate_ = issued_.get();
    const x509_store_ctx_st* const chain_ = context_.get();
};

TEST_F(HttpCertAdapterTest, EachOverloadForwardsItsArgumentsUnchangedAndIsTrueForASuccessAlone) {
    for (const auto answer :
         {CertResult::SUCCESS, CertResult::FAILURE, CertResult::POLICY_NOT_ENFORCED_ERROR}) {
        const auto verifier = std::make_shared<FakeVerifier>(answer);
        HttpCertAdapter adapter(verifier);
        const auto expectRows = [&](const std::vector<Row>& rows, const void* given) {
            for (const Row& row : rows) {
                EXPECT_EQ(row.call(adapter), answer == CertResult::SUCCESS) << row.overload;
                EXPECT_EQ(verifier->certificate, given) << row.overload;
                EXPECT_EQ(verifier->overload, row.overload);
                EXPECT_EQ(verifier->texts, row.texts) << row.overload;
                EXPECT_EQ(verifier->list, row.withList ? LIST : Names()) << row.overload;
            }
        };
        expectRows(rowsFor(certificate_), certificate_);
        expectRows(rowsFor(chain_), chain_);
    }
}

TEST_F(HttpCertAdapterTest, EachOverloadLogsTheResultAndOneOfThemInItsOwnWords) {
    HttpCertAdapter adapter(std::make_shared<FakeVerifier>(CertResult::SUCCESS));
    const std::string marked = "*-----* Certificate Verification Result: result : SUCCESS , ";
    const std::string plain = "verifyCertificate- Verification Result: result : SUCCESS , ";
    for (const auto& rows : {rowsFor(certificate_), rowsFor(chain_)}) {
        for (const Row& row : rows) {
            LogCapture log;
            row.call(adapter);
            ASSERT_EQ(log.linesOf("zeb.httpclient").size(), 1U) << row.overload;
            const LogCapture::Line line = log.lines().back();
            EXPECT_EQ(line.level, ZEBLOG_INFO);
            EXPECT_EQ(line.message.find(IDENTIFIER), std::string::npos) << "the matched name is hidden";
        }
    }
    const auto lineOf = [&adapter](const Row& row) {
        LogCapture log;
        row.call(adapter);
        return log.linesOf("zeb.httpclient").at(0);
    };
    for (std::size_t i = 0; i < 8; ++i) {
        EXPECT_EQ(lineOf(rowsFor(certificate_)[i]).rfind(i == 1 ? plain : marked, 0), 0U) << i;
        EXPECT_EQ(lineOf(rowsFor(chain_)[i]).rfind(marked, 0), 0U) << i;
    }
}

TEST_F(HttpCertAdapterTest, WithoutAVerifierEveryOverloadRefuses) {
    HttpCertAdapter adapter(nullptr);
    LogCapture log;
    for (const auto& rows : {rowsFor(certificate_), rowsFor(chain_)}) {
        for (const Row& row : rows) {
            EXPECT_FALSE(row.call(adapter));
        }
    }
    EXPECT_EQ(log.count("No certificate verifier is available, rejecting the certificate"), 16U);
}

TEST_F(HttpCertAdapterTest, EachOverloadGivesWhatThePipelineGives) {
    const auto pipeline = std::make_shared<cert::CertVerifier>(std::make_shared<FakePlatform>());
    HttpCertAdapter adapter(pipeline);
    const IssuedCertificate other = CertificateBuilder().dnsNames({"other.test"}).build();
    const IssuedCertificate all = CertificateBuilder().dnsNames({IDENTIFIER, "one.test"}).build();
    const StoreContext otherContext(other);
    const StoreContext allContext(all);
    const x509_st* const refused = other.get();
    const x509_st* const accepted = all.get();
    const x509_store_ctx_st* const refusedChain = otherContext.get();
    const x509_store_ctx_st* const acceptedChain = allContext.get();
    for (const auto& rows : {rowsFor(refused), rowsFor(refusedChain)}) {
        for (const Row& row : rows) {
            EXPECT_FALSE(row.call(adapter)) << row.overload;
        }
    }
    for (const auto& rows : {rowsFor(accepted), rowsFor(acceptedChain)}) {
        for (const Row& row : rows) {
            EXPECT_TRUE(row.call(adapter)) << row.overload;
        }
    }
}

}  // namespace
}  // namespace zeb::netutils::adapters::test

#include "cert/common/CertificateValidityCache.h"
#include "cert/utils/CertContainerImpl.h"
#include "cert/utils/CertificateDataFactory.h"
#include "cert/utils/CertificateDataImpl.h"
#include "support/CertificateBuilder.h"
#include "support/LogCapture.h"
#include "support/StoreContext.h"
#include "unit/cert/utils/OpenSslSeam.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert::test {
namespace {

using zeb::test::CertificateBuilder;
using zeb::test::FailingOpenSslCall;
using zeb::test::IssuedCertificate;
using zeb::test::LogCapture;
using zeb::test::OpenSslCall;
using zeb::test::StoreContext;

using Texts = std::vector<std::string>;

CertificateDataImpl dataOf(const IssuedCertificate& certificate) {
    const X509* const cert = certificate.get();
    return CertificateDataImpl(cert);
}

CertificateDataImpl dataOf(const StoreContext& context) {
    const X509_STORE_CTX* const chain = context.get();
    return CertificateDataImpl(chain);
}

void expectEmpty(const CertificateData& data) {
    EXPECT_EQ(data.getFingerprint(), "");
    EXPECT_EQ(data.getCommonName(), "");
    EXPECT_EQ(data.getPem(), Texts());
}

class CertificateDataImplTest : public testing::Test {
protected:
    const IssuedCertificate root_ = CertificateBuilder().commonName("Root").ca().build();
    const IssuedCertificate middle_ = CertificateBuilder().commonName("Middle").ca().issuedBy(root_).build();
    const IssuedCertificate leaf_ = CertificateBuilder().commonName("a.test").issuedBy(middle_).build();
    LogCapture log_;
};

TEST_F(CertificateDataImplTest, ItsPartsAreKeptAsGiven) {
    const CertificateDataImpl data("ab cd ", {"one", "two"}, "a.test");
    EXPECT_EQ(data.getFingerprint(), "ab cd ");
    EXPECT_EQ(data.getPem(), (Texts{"one", "two"}));
    EXPECT_EQ(data.getCommonName(), "a.test");
}

TEST_F(CertificateDataImplTest, ACertificateHasAPemListOfOne) {
    const CertificateDataImpl data = dataOf(leaf_);
    EXPECT_EQ(data.getFingerprint(), CertificateValidityCache::generateFingerprint(leaf_.get()));
    EXPECT_EQ(data.getFingerprint().size(), 60U);
    EXPECT_EQ(data.getPem(), Texts{leaf_.pem()});
    EXPECT_EQ(data.getCommonName(), "a.test");
}

TEST_F(CertificateDataImplTest, AChainIsListedBehindItsLeafInTheOrderInWhichItWasSent) {
    const CertificateDataImpl data = dataOf(StoreContext(leaf_, {root_, middle_}));
    EXPECT_EQ(data.getPem(), (Texts{leaf_.pem(), root_.pem(), middle_.pem()}));
    EXPECT_EQ(data.getCommonName(), "a.test");
    EXPECT_EQ(data.getFingerprint(), dataOf(leaf_).getFingerprint());
}

TEST_F(CertificateDataImplTest, ALeafThatWasSentWithItsChainIsListedTwice) {
    EXPECT_EQ(dataOf(StoreContext(leaf_, {leaf_, middle_})).getPem(),
              (Texts{leaf_.pem(), leaf_.pem(), middle_.pem()}));
}

TEST_F(CertificateDataImplTest, AContextWithoutAChainHasAPemListOfOne) {
    EXPECT_EQ(dataOf(StoreContext(leaf_)).getPem(), Texts{leaf_.pem()});
}

TEST_F(CertificateDataImplTest, ANullEntryEndsTheChain) {
    const StoreContext context(leaf_, {middle_, root_}, 1);
    EXPECT_EQ(dataOf(context).getPem(), (Texts{leaf_.pem(), middle_.pem()}));
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Certificate at index 1 is NULL in cert chain"));
}

TEST_F(CertificateDataImplTest, ANullCertificateLeavesItEmpty) {
    const X509* const cert = nullptr;
    expectEmpty(CertificateDataImpl(cert));
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "The provided X509 pointer is NULL"));
}

TEST_F(CertificateDataImplTest, ANullContextLeavesItEmpty) {
    const X509_STORE_CTX* const chain = nullptr;
    expectEmpty(CertificateDataImpl(chain));
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "The provided X509_STORE_CTX pointer is NULL"));
}

TEST_F(CertificateDataImplTest, AContextWithoutALeafLeavesItEmpty) {
    expectEmpty(dataOf(StoreContext(IssuedCertificate(), {middle_})));
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, "The provided X509 pointer is NULL"));
}

TEST_F(CertificateDataImplTest, AnInvalidContainerLeavesItEmpty) {
    constexpr char INVALID[] = "The provided CertContainer doesn't contain a valid certificate";
    expectEmpty(CertificateDataImpl(std::make_shared<CertContainerImpl>()));
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, INVALID));
    log_.clear();
    expectEmpty(CertificateDataImpl(std::shared_ptr<CertContainer>()));
    EXPECT_TRUE(log_.contains(ZEBLOG_WARNING, INVALID));
}

TEST_F(CertificateDataImplTest, AContainerIsReadAsWhatItHolds) {
    const StoreContext context(leaf_, {middle_});
    const X509* const leaf = leaf_.get();
    const X509_STORE_CTX* const chain = context.get();
    EXPECT_EQ(CertificateDataImpl(std::make_shared<CertContainerImpl>(leaf)).getPem(), Texts{leaf_.pem()});
    EXPECT_EQ(CertificateDataImpl(std::make_shared<CertContainerImpl>(chain)).getPem(),
              (Texts{leaf_.pem(), middle_.pem()}));
    EXPECT_EQ(log_.text(), "");
}

TEST_F(CertificateDataImplTest, ACertificateLargerThanABlockIsWhole) {
    std::vector<std::string> names;
    for (int number = 0; number < 2000; ++number) {
        names.push_back("host-" + std::to_string(number) + ".test");
    }
    const IssuedCertificate large = CertificateBuilder().dnsNames(names).build();
    ASSERT_GT(large.pem().size(), 3U * 4096U);
    EXPECT_EQ(dataOf(large).getPem(), Texts{large.pem()});
}

TEST_F(CertificateDataImplTest, AMissingCommonNameIsEmpty) {
    EXPECT_EQ(dataOf(CertificateBuilder().dnsNames({"a.test"}).build()).getCommonName(), "");
    EXPECT_EQ(dataOf(CertificateBuilder().subjectEntry(NID_organizationName, V_ASN1_UTF8STRING, "O").build())
                  .getCommonName(),
              "");
}

TEST_F(CertificateDataImplTest, AMissingSubjectHasNoCommonName) {
    const FailingOpenSslCall failing(OpenSslCall::GET_SUBJECT);
    EXPECT_EQ(dataOf(leaf_).getCommonName(), "");
}

TEST_F(CertificateDataImplTest, AnEmptyCommonNameIsEmpty) {
    EXPECT_EQ(dataOf(CertificateBuilder().commonName("").build()).getCommonName(), "");
}

TEST_F(CertificateDataImplTest, OfSeveralCommonNamesTheFirstIsShown) {
    EXPECT_EQ(dataOf(CertificateBuilder().commonName("a.test").commonName("b.test").build()).getCommonName(),
              "a.test");
}

TEST_F(CertificateDataImplTest, ACommonNameIsShownWithTheNulThatWouldHideItsEnd) {
    const std::string name("bank.test\0.evil.test", 20);
    EXPECT_EQ(dataOf(CertificateBuilder().commonName(name).build()).getCommonName(), name);
}

TEST_F(CertificateDataImplTest, APemThatCannotBeWrittenIsEmpty) {
    constexpr char NOT_WRITTEN[] = "Could not write on the BIO to convert X509 Certificate into PEM";
    for (const OpenSslCall call : {OpenSslCall::PEM_WRITE, OpenSslCall::BIO_NEW}) {
        log_.clear();
        const FailingOpenSslCall failing(call);
        const CertificateDataImpl data = dataOf(leaf_);
        EXPECT_EQ(data.getPem(), Texts{""});
        EXPECT_EQ(data.getCommonName(), "a.test");
        EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, NOT_WRITTEN));
    }
}

TEST_F(CertificateDataImplTest, APemThatCannotBeReadIsEmpty) {
    const FailingOpenSslCall failing(OpenSslCall::BIO_READ);
    EXPECT_EQ(dataOf(leaf_).getPem(), Texts{""});
    EXPECT_TRUE(
        log_.contains(ZEBLOG_ERROR,
                      "Could not read from the BIO to convert X509 Certificate into PEM,operation is not "
                      "implemented in the specific BIO type"));
}

TEST_F(CertificateDataImplTest, LeavesNoErrorToTheHandshake) {
    ERR_clear_error();
    dataOf(CertificateBuilder().dnsNames({"a.test"}).build());
    dataOf(StoreContext(leaf_, {middle_}));
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_F(CertificateDataImplTest, WhatFailsForACertificateOrItsChainLeavesTheHandshakeOnlyTheErrorOfBefore) {
    const StoreContext context(leaf_, {middle_});
    for (const OpenSslCall call : {OpenSslCall::PEM_WRITE, OpenSslCall::BIO_NEW, OpenSslCall::BIO_READ}) {
        const FailingOpenSslCall failing(call);
        ERR_clear_error();
        EXPECT_EQ(dataOf(leaf_).getPem(), Texts{""});
        EXPECT_EQ(dataOf(context).getPem(), (Texts{"", ""}));
        EXPECT_EQ(ERR_peek_error(), 0U);
        d2i_X509(nullptr, nullptr, 0);
        const unsigned long before = ERR_peek_last_error();
        ASSERT_NE(before, 0U);
        dataOf(context);
        EXPECT_EQ(ERR_peek_last_error(), before);
    }
    ERR_clear_error();
}

TEST_F(CertificateDataImplTest, TheFactoryReadsEverythingACertificateComesIn) {
    CertificateDataFactory factory;
    const StoreContext context(leaf_, {middle_});
    const X509* const leaf = leaf_.get();
    const X509_STORE_CTX* const chain = context.get();
    EXPECT_EQ(factory.buildCertificateData(leaf)->getPem().size(), 1U);
    EXPECT_EQ(factory.buildCertificateData(chain)->getPem().size(), 2U);
    EXPECT_EQ(factory.buildCertificateData(std::make_shared<CertContainerImpl>(chain))->getPem().size(), 2U);
    expectEmpty(*factory.buildCertificateData(std::shared_ptr<CertContainer>()));
}

}  // namespace
}  // namespace zeb::cert::test

#include "cert/utils/CertContainerFactory.h"
#include "cert/utils/CertContainerImpl.h"
#include "support/CertificateBuilder.h"
#include "support/LogCapture.h"
#include "support/StoreContext.h"

#include <memory>

#include <gtest/gtest.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert::test {
namespace {

using zeb::test::CertificateBuilder;
using zeb::test::IssuedCertificate;
using zeb::test::LogCapture;
using zeb::test::StoreContext;

constexpr char NO_LEAF[] = "Unexpected condition. Unable to return a leaf cert when hasValidLeafCert fails";
constexpr char NO_CHAIN[] = "Unexpected condition. Unable to return a cert chain from a leaf cert";

class CertContainerImplTest : public testing::Test {
protected:
    const IssuedCertificate leaf_ = CertificateBuilder().commonName("a.test").build();
    LogCapture log_;
};

TEST_F(CertContainerImplTest, ALeafIsReturnedAndHasNoChain) {
    const X509* const leaf = leaf_.get();
    const CertContainerImpl container(leaf);
    EXPECT_TRUE(container.isValid());
    EXPECT_TRUE(container.isLeafCert());
    EXPECT_TRUE(container.hasValidLeafCert());
    EXPECT_EQ(container.getLeafCert(), leaf_.get());
    EXPECT_EQ(log_.text(), "");
    EXPECT_EQ(container.getCertChain(), nullptr);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, NO_CHAIN));
}

TEST_F(CertContainerImplTest, ANullLeafIsALeafThatIsNotValid) {
    const X509* const leaf = nullptr;
    const CertContainerImpl container(leaf);
    EXPECT_FALSE(container.isValid());
    EXPECT_TRUE(container.isLeafCert());
    EXPECT_FALSE(container.hasValidLeafCert());
    EXPECT_EQ(container.getLeafCert(), nullptr);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, NO_LEAF));
}

TEST_F(CertContainerImplTest, AChainIsReturnedWithItsLeaf) {
    const StoreContext context(leaf_);
    const X509_STORE_CTX* const chain = context.get();
    const CertContainerImpl container(chain);
    EXPECT_TRUE(container.isValid());
    EXPECT_FALSE(container.isLeafCert());
    EXPECT_TRUE(container.hasValidLeafCert());
    EXPECT_EQ(container.getLeafCert(), leaf_.get());
    EXPECT_EQ(container.getCertChain(), context.get());
    EXPECT_EQ(log_.text(), "");
}

TEST_F(CertContainerImplTest, AChainWithoutALeafIsNotValidYetReturned) {
    const StoreContext context((IssuedCertificate()));
    const X509_STORE_CTX* const chain = context.get();
    const CertContainerImpl container(chain);
    EXPECT_FALSE(container.isValid());
    EXPECT_FALSE(container.hasValidLeafCert());
    EXPECT_EQ(container.getCertChain(), context.get());
    EXPECT_EQ(log_.text(), "");
    EXPECT_EQ(container.getLeafCert(), nullptr);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, NO_LEAF));
}

TEST_F(CertContainerImplTest, ANullChainIsNotValid) {
    const X509_STORE_CTX* const chain = nullptr;
    const CertContainerImpl container(chain);
    EXPECT_FALSE(container.isValid());
    EXPECT_FALSE(container.isLeafCert());
    EXPECT_EQ(container.getLeafCert(), nullptr);
    EXPECT_EQ(container.getCertChain(), nullptr);
    EXPECT_FALSE(log_.contains(NO_CHAIN));
}

TEST_F(CertContainerImplTest, AnEmptyOneIsNoLeafAndNotValid) {
    const CertContainerImpl container;
    EXPECT_FALSE(container.isValid());
    EXPECT_FALSE(container.isLeafCert());
    EXPECT_FALSE(container.hasValidLeafCert());
    EXPECT_EQ(container.getLeafCert(), nullptr);
    EXPECT_EQ(container.getCertChain(), nullptr);
}

TEST_F(CertContainerImplTest, TheFactoryMakesOneOfEitherKind) {
    CertContainerFactory factory;
    const StoreContext context(leaf_);
    const X509* const leaf = leaf_.get();
    const X509_STORE_CTX* const chain = context.get();
    EXPECT_TRUE(factory.buildCertContainer(leaf)->isLeafCert());
    EXPECT_EQ(factory.buildCertContainer(leaf)->getLeafCert(), leaf_.get());
    EXPECT_FALSE(factory.buildCertContainer(chain)->isLeafCert());
    EXPECT_EQ(factory.buildCertContainer(chain)->getCertChain(), context.get());
}

}  // namespace
}  // namespace zeb::cert::test

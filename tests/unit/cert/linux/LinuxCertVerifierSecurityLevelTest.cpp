#include "LinuxCertVerifierTestSupport.h"
#include "support/StoreContext.h"

#include <openssl/x509_vfy.h>

namespace zeb::cert::test {
namespace {

using zeb::test::StoreContext;

class LinuxCertVerifierSecurityLevelTest : public LinuxCertVerifierTestBase {
protected:
    LinuxCertVerifierSecurityLevelTest() { BundleFolder::rewrite(folder_.first(), root_.pem()); }

    /// As a handshake of that level hands it over; -1 stands for none.
    Statuses verifyAt(int level, const IssuedCertificate& leaf) const {
        const StoreContext context(leaf);
        X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context.get()), level);
        const x509_store_ctx_st* const chain = context.get();
        return verifier_->verifyCertificate(chain);
    }
};

TEST_F(LinuxCertVerifierSecurityLevelTest, AWeakKeyIsTrustedOnlyWhereTheHandshakeAsksForNoBetter) {
    const IssuedCertificate weak =
        issue("weak", &root_, CertificateBuilder().key(zeb::test::Keys::rsa(1024)));
    EXPECT_EQ(verifyAt(-1, weak), VALID_ONLY);
    EXPECT_EQ(verifyAt(0, weak), VALID_ONLY);
    EXPECT_EQ(verifyAt(1, weak), VALID_ONLY);
    EXPECT_EQ(verifyAt(2, weak), UNKNOWN_ONLY);
    EXPECT_EQ(verifyAt(2, issue("good", &root_)), VALID_ONLY);
}

TEST_F(LinuxCertVerifierSecurityLevelTest, ASha1SignatureIsTrustedOnlyWhereTheHandshakeAsksForNoBetter) {
    const IssuedCertificate old = issue("old", &root_, CertificateBuilder().digest(EVP_sha1()));
    EXPECT_EQ(verifyAt(-1, old), VALID_ONLY);
    EXPECT_EQ(verifyAt(2, old), UNKNOWN_ONLY);
}

TEST_F(LinuxCertVerifierSecurityLevelTest, AContextThatNobodyHasFilledIsNeverTrusted) {
    const std::shared_ptr<X509_STORE_CTX> empty(X509_STORE_CTX_new(), &X509_STORE_CTX_free);
    const x509_store_ctx_st* const chain = empty.get();
    EXPECT_EQ(verifier_->verifyCertificate(chain), UNKNOWN_ONLY);
}

}  // namespace
}  // namespace zeb::cert::test

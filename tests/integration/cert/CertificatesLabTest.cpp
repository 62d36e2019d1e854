#include "cert/IgnoreInvalidCertConditionPolicy.h"
#include "cert/InvalidCertManagementPolicy.h"
#include "cert/common/CertVerifier.h"
#include "cert/common/CertVerifierFactory.h"
#include "common/FipsUtils.h"
#include "http/BasicHttpClient.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "support/Lab.h"
#include "zebdiagnostics/ZEBDiagnostics.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

namespace lab = zeb::test::lab;
using http::HttpClientResult;
using http::IdentityMatchModel;
using http::Request;
using ZEBDiagnostics::DiagnosticsWrapper;

/// The clients as hosts get them, against certificates good and bad.
class CertificatesLabTest : public zeb::test::LabTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (!IsSkipped()) {
            ASSERT_EQ(netutils::GlobalInit(), 0);
        }
    }
    void TearDown() override { common::FipsUtils::setQueryForTests(nullptr); }

    HttpClientResult::Result run(const std::shared_ptr<Request>& request) {
        return client_->execute(request, response_);
    }
    HttpClientResult::Result get(const std::string& name) {
        return run(std::make_shared<Request>(lab::secureUrl(name, "/text")));
    }
    /// What the diagnostics tell of the last certificate.
    static std::string lastStatus() {
        const auto records = DiagnosticsWrapper::getRecords();
        return records.empty() ? "nothing" : records.back().value;
    }

    const std::shared_ptr<CertVerifier> verifier_ = CertVerifierFactory::createCertVerifier();
    const std::shared_ptr<http::BasicHttpClient> client_ =
        netutils::NetUtilsFactory().createBasicHttpClient(verifier_);
    http::Response response_;
};

TEST_F(CertificatesLabTest, GoodCertificatesLetTheRequestThrough) {
    for (const std::string name : {"origin.lab.test", "www.lab.test", "other.lab.test", "elliptic.lab.test",
                                   "chain.lab.test", "one.wild.lab.test"}) {
        EXPECT_EQ(get(name), HttpClientResult::SUCCESS) << name;
        EXPECT_EQ(response_.body, lab::TEXT);
        EXPECT_EQ(lastStatus(), "VALID");
    }
}

TEST_F(CertificatesLabTest, BadCertificatesAreRefusedWithTheirStatuses) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"expired", "[UNKNOWN]"},  // the platform gives no finer reason
        {"notyet", "[UNKNOWN]"},         {"wrong", "[CN_NO_MATCH]"}, {"two.one.wild", "[CN_NO_MATCH]"},
        {"selfsigned", "[UNKNOWN]"},     {"untrusted", "[UNKNOWN]"}, {"incomplete", "[UNKNOWN]"},
        {"wrongusage", "[WRONG_USAGE]"}, {"noca", "[UNKNOWN]"},      {"weak", "[UNKNOWN]"},
        {"sha1", "[UNKNOWN]"},
    };
    for (const auto& [name, statuses] : rows) {
        response_ = {};
        EXPECT_EQ(get(name + ".lab.test"), HttpClientResult::CERTIFICATE_VALIDATION_ERROR) << name;
        EXPECT_EQ(response_.body, "") << name;
        EXPECT_EQ(lastStatus(), statuses) << name;
    }
}

TEST_F(CertificatesLabTest, InFipsModeAWeakKeyHasAStatusOfItsOwn) {
    common::FipsUtils::setQueryForTests([] { return true; });
    EXPECT_EQ(get("weak.lab.test"), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(lastStatus(), "[WEAK_KEY UNKNOWN]");
    EXPECT_EQ(get("origin.lab.test"), HttpClientResult::SUCCESS);
}

TEST_F(CertificatesLabTest, APolicyMayLetABadOneThrough) {
    verifier_->addPolicy(IgnoreInvalidCertConditionPolicy::IGNORE_WRONG_KEY_USAGE_ERRORS_POLICY);
    EXPECT_EQ(get("wrongusage.lab.test"), HttpClientResult::SUCCESS);
    EXPECT_EQ(get("expired.lab.test"), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    verifier_->addPolicy(InvalidCertManagementPolicy::SILENTLY_SUCCEED_POLICY);
    EXPECT_EQ(get("expired.lab.test"), HttpClientResult::SUCCESS);
}

TEST_F(CertificatesLabTest, GivenIdentitiesCountSoftlyInPlaceOfTheHostAndStrictlyBesideIt) {
    const auto request = [](IdentityMatchModel::Model model, const std::string& identity) {
        const auto made = std::make_shared<Request>(lab::secureUrl("wrong.lab.test", "/text"));
        made->getOptions()->certIdentityValidationModel = model;
        made->getOptions()->useProvidedIdentity = true;
        made->getOptions()->identities = {identity};
        return made;
    };
    EXPECT_EQ(run(request(IdentityMatchModel::SOFT_MATCH, "elsewhere.lab.test")), HttpClientResult::SUCCESS);
    EXPECT_EQ(get("wrong.lab.test"), HttpClientResult::CERTIFICATE_VALIDATION_ERROR)
        << "not over the connection of the request before";
    EXPECT_EQ(run(request(IdentityMatchModel::STRICT_MATCH, "elsewhere.lab.test")),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
}

TEST_F(CertificatesLabTest, ARedirectIsJudgedUnderTheNameThatItLeadsTo) {
    EXPECT_EQ(run(std::make_shared<Request>(
                  lab::secureUrl("/redirect?to=" + lab::secureUrl("wrong.lab.test", "/text")))),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(
        run(std::make_shared<Request>(lab::secureUrl("/redirect?to=" + lab::secureUrl(lab::OTHER, "/text")))),
        HttpClientResult::SUCCESS);
}

TEST_F(CertificatesLabTest, ANullVerifierRefusesEvenAGoodOne) {
    const auto client = netutils::NetUtilsFactory().createBasicHttpClient(std::shared_ptr<CertVerifier>());
    EXPECT_EQ(client->execute(std::make_shared<Request>(lab::secureUrl("/text")), response_),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
}

}  // namespace
}  // namespace zeb::cert::test

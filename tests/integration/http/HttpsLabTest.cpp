#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "support/FakeCertVerifier.h"
#include "support/Lab.h"

#include <ctime>
#include <map>
#include <memory>
#include <string>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

namespace lab = zeb::test::lab;
using testing::ElementsAre;
using zeb::test::FakeCertVerifier;

/// HTTPS against the lab's nginx, with a verifier that is told what to say.
class HttpsLabTest : public zeb::test::LabTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (!IsSkipped()) {
            ASSERT_EQ(netutils::GlobalInit(), 0);
        }
    }

    HttpClientResult::Result get(const std::string& url, const std::shared_ptr<CertVerifier>& verifier) {
        return run(std::make_shared<Request>(url), verifier);
    }
    HttpClientResult::Result run(const std::shared_ptr<Request>& request,
                                 const std::shared_ptr<CertVerifier>& verifier) {
        client_ = BasicHttpClientImpl::buildBasicHttpClientImpl(
            nullptr, verifier, std::make_shared<ThreadPool>(0, 1, "https", 1), nullptr);
        if (policy_ != nullptr) {
            client_->addPolicy(policy_);
        }
        return client_->execute(request, response_);
    }

    const std::shared_ptr<FakeCertVerifier> accepting_ = std::make_shared<FakeCertVerifier>(true);
    const std::shared_ptr<FakeCertVerifier> refusing_ = std::make_shared<FakeCertVerifier>(false);
    std::shared_ptr<common::Policy> policy_;
    std::shared_ptr<BasicHttpClientImpl> client_;
    Response response_;
};

TEST_F(HttpsLabTest, AnAcceptedCertificateLetsTheRequestThrough) {
    ASSERT_EQ(get(lab::secureUrl("/text"), accepting_), HttpClientResult::SUCCESS);
    EXPECT_EQ(response_.body, lab::TEXT);
}

TEST_F(HttpsLabTest, TheVerifierAloneJudgesEvenACertificateThatNobodyElseTrusts) {
    EXPECT_EQ(get(lab::secureUrl("selfsigned.lab.test", "/text"), accepting_), HttpClientResult::SUCCESS);
}

TEST_F(HttpsLabTest, ARefusedCertificateEndsTheRequestThoughTheBundleTrustsIt) {
    EXPECT_EQ(get(lab::secureUrl("/text"), refusing_), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(refusing_->questions().size(), 1U);
}

TEST_F(HttpsLabTest, SoftMatchingAsksForTheHostAmongTheReferenceIdentifiers) {
    ASSERT_EQ(get(lab::secureUrl("/text"), accepting_), HttpClientResult::SUCCESS);
    const auto questions = accepting_->questions();
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_TRUE(questions[0].chain);
    EXPECT_EQ(questions[0].identifier, "");
    EXPECT_THAT(questions[0].referenceIdentifiers, ElementsAre(lab::ORIGIN));
    EXPECT_EQ(questions[0].identifierToDisplay, lab::ORIGIN);
}

TEST_F(HttpsLabTest, StrictMatchingAsksForTheHostItself) {
    const auto request = std::make_shared<Request>(lab::secureUrl("/text"));
    request->getOptions()->certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
    request->getOptions()->useProvidedIdentity = true;
    request->getOptions()->identities = {"service.lab.test"};
    request->getOptions()->identifierToDisplay = "the service";
    ASSERT_EQ(run(request, accepting_), HttpClientResult::SUCCESS);
    const auto questions = accepting_->questions();
    ASSERT_EQ(questions.size(), 1U);
    EXPECT_EQ(questions[0].identifier, lab::ORIGIN);
    EXPECT_THAT(questions[0].referenceIdentifiers, ElementsAre("service.lab.test"));
    EXPECT_EQ(questions[0].identifierToDisplay, "the service");
}

TEST_F(HttpsLabTest, AUrlAfterAFailoverIsAskedForUnderItsOwnName) {
    const auto request = std::make_shared<Request>(lab::secureUrl(lab::ORIGIN, "/text"));
    request->getOptions()->failoverUrls = {lab::secureUrl(lab::OTHER, "/text")};
    EXPECT_EQ(run(request, refusing_), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    const auto questions = refusing_->questions();
    ASSERT_EQ(questions.size(), 2U);
    EXPECT_THAT(questions[0].referenceIdentifiers, ElementsAre(lab::ORIGIN));
    EXPECT_THAT(questions[1].referenceIdentifiers, ElementsAre(lab::OTHER));
    EXPECT_EQ(questions[1].identifierToDisplay, lab::OTHER);
}

TEST_F(HttpsLabTest, AKeptConnectionIsJudgedOnceANewOneAnew) {
    ASSERT_EQ(get(lab::secureUrl("/text"), accepting_), HttpClientResult::SUCCESS);
    ASSERT_EQ(client_->execute(std::make_shared<Request>(lab::secureUrl("/text")), response_),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(accepting_->questions().size(), 1U);

    const auto once = std::make_shared<Request>(lab::secureUrl("/text"));
    once->getOptions()->forbidReuse = true;
    ASSERT_EQ(client_->execute(once, response_), HttpClientResult::SUCCESS);
    ASSERT_EQ(client_->execute(std::make_shared<Request>(lab::secureUrl("/text")), response_),
              HttpClientResult::SUCCESS);
    EXPECT_EQ(accepting_->questions().size(), 2U);
}

TEST_F(HttpsLabTest, WithoutTls12AServerThatHasNothingNewerIsNotSpokenTo) {
    const std::string url = "https://" + lab::ORIGIN + ":1243/text";
    EXPECT_EQ(get(url, accepting_), HttpClientResult::SUCCESS);
    const auto request = std::make_shared<Request>(url);
    request->getOptions()->acceptableTlsVersions = 0;
    EXPECT_EQ(run(request, accepting_), HttpClientResult::SSL_CONNECTION_ERROR);
}

TEST_F(HttpsLabTest, TheCommonCriteriaModeReachesAModernServer) {
    policy_ = CommonCriteriaUsagePolicy::COMMON_CRITERIA_ENABLED_POLICY;
    EXPECT_EQ(get(lab::secureUrl("/text"), accepting_), HttpClientResult::SUCCESS);
}

TEST_F(HttpsLabTest, CookiesOfEveryKindAreReadAsLibcurlListsThem) {
    ASSERT_EQ(get(lab::secureUrl("/cookies/set"), accepting_), HttpClientResult::SUCCESS);
    std::map<std::string, common::Cookie> cookies;
    for (const common::Cookie& cookie : response_.cookies) {
        cookies.emplace(cookie.getName(), cookie);
    }
    const auto now = static_cast<std::int64_t>(std::time(nullptr));

    ASSERT_EQ(cookies.count("session"), 1U);
    EXPECT_EQ(cookies.at("session").getDomain(), lab::ORIGIN);
    EXPECT_EQ(cookies.at("session").getExpirationDate(), 0);
    EXPECT_FALSE(cookies.at("session").isTailMatchAllowed());
    EXPECT_FALSE(cookies.at("session").isSecureConnectionRequired());
    EXPECT_EQ(cookies.at("session").getValue(), "1");
    EXPECT_EQ(cookies.at("session").getPath(), "/");

    ASSERT_EQ(cookies.count("httponly"), 1U);
    EXPECT_EQ(cookies.at("httponly").getDomain(), lab::ORIGIN);
    EXPECT_EQ(cookies.at("httponly").getRawFormat().find("#HttpOnly_"), 0U);
    EXPECT_EQ(cookies.at("httponly").getValue(), "2");

    ASSERT_EQ(cookies.count("secure"), 1U);
    EXPECT_TRUE(cookies.at("secure").isSecureConnectionRequired());

    ASSERT_EQ(cookies.count("tail"), 1U);
    EXPECT_TRUE(cookies.at("tail").isTailMatchAllowed());
    EXPECT_EQ(cookies.at("tail").getDomain(), ".lab.test");

    ASSERT_EQ(cookies.count("maxage"), 1U);
    EXPECT_GT(cookies.at("maxage").getExpirationDate(), now + 3000);
    EXPECT_LE(cookies.at("maxage").getExpirationDate(), now + 3600);
    ASSERT_EQ(cookies.count("future"), 1U);
    EXPECT_EQ(cookies.at("future").getExpirationDate(), 4070908800);  // 1 January 2099
    ASSERT_EQ(cookies.count("deep"), 1U);
    EXPECT_EQ(cookies.at("deep").getPath(), "/cookies");

    for (const char* const refused : {"gone", "past", "foreign"}) {
        EXPECT_EQ(cookies.count(refused), 0U) << refused;
    }
    // libcurl lists a cookie without a value in a line that ends in a tab, which has a field too few.
    EXPECT_EQ(cookies.count("novalue"), 0U);
    EXPECT_TRUE(cookies.count("") == 1 && cookies.at("").isEmpty());
}

TEST_F(HttpsLabTest, CookiesGoBackWithTheNextRequest) {
    ASSERT_EQ(get(lab::secureUrl("/cookies/set"), accepting_), HttpClientResult::SUCCESS);
    ASSERT_EQ(client_->execute(std::make_shared<Request>(lab::secureUrl("/cookies/get")), response_),
              HttpClientResult::SUCCESS);
    EXPECT_THAT(response_.body, testing::HasSubstr("session="));
}

}  // namespace
}  // namespace zeb::http::test

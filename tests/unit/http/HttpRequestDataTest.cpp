#include "http/CertVerifier.h"
#include "http/CommonCriteriaUsagePolicy.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/MultiHttpClientData.h"
#include "http/Request.h"
#include "ip/IpFamilyPreferencePolicy.h"
#include "support/CurlOptionSpy.h"
#include "support/LogCapture.h"
#include "unit/http/CurlSeam.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <set>
#include <thread>
#include <type_traits>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using zeb::test::CurlOptionSpy;
using zeb::test::LogCapture;

auto failure(const std::string& url, HttpClientResult::Result result) {
    return AllOf(Field(&FailedUrlInfo::url, url), Field(&FailedUrlInfo::result, result));
}

curl_slist* appended(const char* text) {
    return curl_slist_append(nullptr, text);
}

/// Like any certificate verifier as long as it isn't called.
class UnusedVerifier : public CertVerifier {
public:
    bool verifyCertificate(const x509_st*, const std::string&) override { return false; }
    bool verifyCertificate(const x509_st*, const std::string&, const std::string&) override { return false; }
    bool verifyCertificate(const x509_st*, const Names&) override { return false; }
    bool verifyCertificate(const x509_st*, const std::string&, const Names&) override { return false; }
    bool verifyCertificate(const x509_st*, const Names&, const std::string&) override { return false; }
    bool verifyCertificate(const x509_st*, const std::string&, const Names&, const std::string&) override {
        return false;
    }
    bool verifyCertificate(const x509_st*, const std::string&, const std::string&, const Names&) override {
        return false;
    }
    bool verifyCertificate(const x509_st*, const std::string&, const std::string&, const Names&,
                           const std::string&) override {
        return false;
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string&) override { return false; }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string&, const std::string&) override {
        return false;
    }
    bool verifyCertificate(const x509_store_ctx_st*, const Names&) override { return false; }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string&, const Names&) override {
        return false;
    }
    bool verifyCertificate(const x509_store_ctx_st*, const Names&, const std::string&) override {
        return false;
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string&, const Names&,
                           const std::string&) override {
        return false;
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string&, const std::string&,
                           const Names&) override {
        return false;
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string&, const std::string&, const Names&,
                           const std::string&) override {
        return false;
    }
};

class HttpRequestDataTest : public testing::Test {
protected:
    HttpRequestData& data() {
        if (data_ == nullptr) {
            data_ = std::make_shared<HttpRequestData>(request, nullptr);
        }
        return *data_;
    }

    const std::shared_ptr<Request> request = std::make_shared<Request>("https://first/");
    const std::shared_ptr<HttpRequestOptions> options = request->getOptions();

private:
    std::shared_ptr<HttpRequestData> data_;  ///< made once the test has filled in the options
};

// Construction

TEST_F(HttpRequestDataTest, OwnsNothingAndKnowsNothingAtFirst) {
    EXPECT_EQ(0, data().responseCode);
    EXPECT_EQ(request, data().getRequest());
    EXPECT_EQ(request, data().getWrapper().request);
    EXPECT_EQ("https://first/", data().getWrapper().url);
    EXPECT_EQ(0U, data().getTotalDataReceived());
    EXPECT_EQ(EdgeTransformer::TransformRequestResult::UNKNOWN, data().getEdgeTransformResult());
    EXPECT_EQ(9, data().getEdgeTransformResult());
    EXPECT_EQ(nullptr, data().getCurlConnection());
    EXPECT_FALSE(data().ownsEasyCURLConnection());
    EXPECT_FALSE(data().hasFailoverUrl());
    EXPECT_THAT(data().getFailedUrlInfo(), IsEmpty());
    EXPECT_EQ(nullptr, data().getConnectToList());
    EXPECT_EQ(nullptr, data().getSSLData().certVerifier);
    EXPECT_FALSE(data().getSSLData().identifierToDisplayDefaulted);
    EXPECT_FALSE(data().getSSLData().referenceIdentifiersDefaulted);
}

TEST(HttpRequestDataDeathTest, TheFirstIdOfAProcessIsZero) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // a process of its own
    EXPECT_EXIT(std::_Exit(static_cast<int>(
                    HttpRequestData(std::make_shared<Request>("https://host/"), nullptr).getRequestId())),
                testing::ExitedWithCode(0), "");
}

TEST_F(HttpRequestDataTest, EachRunHasTheNextId) {
    const HttpRequestData first(request, nullptr);
    const HttpRequestData second(request, nullptr);
    EXPECT_EQ(first.getRequestId() + 1, second.getRequestId());
}

TEST_F(HttpRequestDataTest, IdsAreUniqueAcrossThreads) {
    std::mutex mutex;
    std::set<std::uint32_t> ids;
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count) {
        threads.emplace_back([&] {
            for (int made = 0; made < 50; ++made) {
                const HttpRequestData one(request, nullptr);
                const std::lock_guard<std::mutex> lock(mutex);
                ids.insert(one.getRequestId());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(ids, SizeIs(200));
}

TEST_F(HttpRequestDataTest, IsNamedByTheNumberSignAndItsId) {
    EXPECT_EQ("#" + std::to_string(data().getRequestId()), data().formattedRequestID());
}

TEST_F(HttpRequestDataTest, KeepsTheVerifierAndTheMatchModel) {
    options->certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
    const auto verifier = std::make_shared<UnusedVerifier>();
    HttpRequestData withVerifier(request, verifier);
    EXPECT_EQ(verifier, withVerifier.getSSLData().certVerifier);
    EXPECT_EQ(IdentityMatchModel::STRICT_MATCH, withVerifier.getSSLData().identityMatchModel);
}

TEST_F(HttpRequestDataTest, OfProvidedIdentitiesTheEmptyOneIsSkippedWithOneError) {
    options->useProvidedIdentity = true;
    options->identities = {"a", "", "b"};
    const LogCapture log;
    EXPECT_THAT(data().getSSLData().referenceIdentifiers, ElementsAre("a", "b"));
    EXPECT_TRUE(log.contains(
        ZEBLOG_ERROR, "Received a malformed request options! some of the provided identities are empty"));
    EXPECT_EQ(1U, log.count("Received a malformed request options!"));
    EXPECT_EQ(1U, log.count("adding custom reference identifier: '" + ZEBLogger_replacePIIData("a") + "'"));
    EXPECT_EQ(1U, log.count("adding custom reference identifier: '" + ZEBLogger_replacePIIData("b") + "'"));
    EXPECT_EQ(2U, log.count("adding custom reference identifier"));
}

TEST_F(HttpRequestDataTest, WithoutAnyProvidedIdentityItWarnsAndGoesOnWithNone) {
    options->useProvidedIdentity = true;
    const LogCapture log;
    EXPECT_THAT(data().getSSLData().referenceIdentifiers, IsEmpty());
    EXPECT_TRUE(log.contains(ZEBLOG_WARNING,
                             "Received a malformed request options! useProvidedIdentity flag is set but "
                             "empty identities vector is provided"));
}

TEST_F(HttpRequestDataTest, IdentitiesAreLeftAloneUnlessTheyAreToBeUsed) {
    options->identities = {"a", ""};
    const LogCapture log;
    EXPECT_THAT(data().getSSLData().referenceIdentifiers, IsEmpty());
    EXPECT_FALSE(log.contains("malformed"));
}

TEST_F(HttpRequestDataTest, TakesOverTheDisplayIdentifier) {
    options->identifierToDisplay = "display";
    const LogCapture log;
    EXPECT_EQ("display", data().getSSLData().identifierToDisplay);
    EXPECT_TRUE(log.contains("using display identifier provided : " + ZEBLogger_replacePIIData("display")));
}

TEST_F(HttpRequestDataTest, WithoutDisplayIdentifierSaysNothing) {
    const LogCapture log;
    EXPECT_EQ("", data().getSSLData().identifierToDisplay);
    EXPECT_FALSE(log.contains("display identifier"));
}

TEST_F(HttpRequestDataTest, WithoutRequestOrOptionsEveryOperationIsHarmless) {
    for (const auto& bare :
         {std::shared_ptr<Request>(), std::make_shared<Request>(std::shared_ptr<HttpRequestOptions>())}) {
        HttpRequestData orphan(bare, nullptr);
        orphan.setFailoverUrls({"https://next/"});
        orphan.switchToNextUrl(HttpClientResult::UNKNOWN_ERROR);
        EXPECT_TRUE(orphan.hasFailoverUrl());
        EXPECT_THAT(orphan.getFailedUrlInfo(), IsEmpty());
    }
}

TEST_F(HttpRequestDataTest, AddsUpWhatWasReceived) {
    data().addTotalDataReceived(3);
    data().addTotalDataReceived(4);
    EXPECT_EQ(7U, data().getTotalDataReceived());
}

// The handle

TEST_F(HttpRequestDataTest, OwnsTheHandleItConsumed) {
    const auto connection = std::make_shared<EasyCURLConnection>();
    const LogCapture log;
    data().consumeEasyCURLConnection(connection, nullptr);
    EXPECT_TRUE(data().ownsEasyCURLConnection());
    EXPECT_EQ(connection, data().getCurlConnection());
    EXPECT_TRUE(log.contains("Request " + data().formattedRequestID() + " acquiring EasyCURLConnection"));
}

TEST_F(HttpRequestDataTest, ASecondConsumeWhileOwningChangesNothing) {
    const auto first = std::make_shared<EasyCURLConnection>();
    const auto client = HttpClientData::build(nullptr, nullptr);
    data().consumeEasyCURLConnection(first, client);
    const LogCapture log;
    data().consumeEasyCURLConnection(std::make_shared<EasyCURLConnection>(), nullptr);
    EXPECT_EQ(first, data().getCurlConnection());
    EXPECT_EQ(2, client.use_count()) << "still the client of the first";
    EXPECT_FALSE(log.contains("acquiring EasyCURLConnection"));
}

TEST_F(HttpRequestDataTest, ReturnedHandleAndClientAreLetGo) {
    const auto connection = std::make_shared<EasyCURLConnection>();
    const auto client = HttpClientData::build(nullptr, nullptr);
    data().consumeEasyCURLConnection(connection, client);
    const LogCapture log;
    data().returnEasyCURLConnection();
    EXPECT_FALSE(data().ownsEasyCURLConnection());
    EXPECT_EQ(nullptr, data().getCurlConnection());
    EXPECT_EQ(1, connection.use_count());
    EXPECT_EQ(1, client.use_count());
    EXPECT_TRUE(
        log.contains("Request " + data().formattedRequestID() + " returning borrowed EasyCURLConnection"));
}

TEST_F(HttpRequestDataTest, ReturningWithoutOwningSaysAndDoesNothing) {
    const LogCapture log;
    data().returnEasyCURLConnection();
    EXPECT_FALSE(log.contains("returning borrowed"));
    data().consumeEasyCURLConnection(std::make_shared<EasyCURLConnection>(), nullptr);
    data().returnEasyCURLConnection();
    data().returnEasyCURLConnection();
    EXPECT_EQ(1U, log.count("returning borrowed"));
}

TEST_F(HttpRequestDataTest, MayEndWithTheClientThatItReturnsTheHandleTo) {
    auto owned = std::make_shared<HttpRequestData>(request, nullptr);
    HttpRequestData& raw = *owned;
    const std::weak_ptr<HttpRequestData> watched = owned;
    // The client data holds the request data, and the request data, while it owns the handle, the client's.
    auto client = MultiHttpClientData::build(nullptr, nullptr, std::move(owned));
    client->provideEasyCURLConnection(raw);
    client.reset();
    ASSERT_FALSE(watched.expired());
    raw.returnEasyCURLConnection();
    EXPECT_TRUE(watched.expired());
}

TEST_F(HttpRequestDataTest, WipesABodyThatNobodyWasTold) {
    // So short that it lies within the object, where it can be looked for afterwards.
    const std::string secret = "s3cr3t-body";
    std::aligned_storage_t<sizeof(HttpRequestData), alignof(HttpRequestData)> storage;
    auto* const run = new (&storage) HttpRequestData(request, nullptr);
    run->body = secret;
    const auto bytes = [&storage] {
        return std::string(reinterpret_cast<const char*>(&storage), sizeof storage);
    };
    ASSERT_THAT(bytes(), HasSubstr(secret));
    run->~HttpRequestData();
    EXPECT_THAT(bytes(), Not(HasSubstr("s3cr3t")));
    EXPECT_THAT(bytes(), Not(HasSubstr("body")));
}

// Failover

TEST_F(HttpRequestDataTest, GoesThroughItsFailoverUrlsInOrderAndNotesEachFailure) {
    data().setFailoverUrls({"https://second/", "https://third/"});
    EXPECT_TRUE(data().hasFailoverUrl());
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ("https://second/", options->url);
    EXPECT_TRUE(data().hasFailoverUrl());
    data().switchToNextUrl(HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    EXPECT_EQ("https://third/", options->url);
    EXPECT_FALSE(data().hasFailoverUrl());
    EXPECT_THAT(data().getFailedUrlInfo(),
                ElementsAre(failure("https://first/", HttpClientResult::UNRESOLVED_HOST_ERROR),
                            failure("https://second/", HttpClientResult::CONNECTION_TIMEOUT_ERROR)));
}

TEST_F(HttpRequestDataTest, StartsWithTheFailoverUrlsOfItsOptions) {
    options->failoverUrls = {"https://second/", "https://third/"};
    EXPECT_TRUE(data().hasFailoverUrl());
    EXPECT_THAT(data().getFailedUrlInfo(), IsEmpty());
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ("https://second/", options->url);
    EXPECT_THAT(options->failoverUrls, ElementsAre("https://second/", "https://third/"))
        << "a further run starts with all of them";
}

TEST_F(HttpRequestDataTest, IsUnansweredUntilSaidOtherwise) {
    EXPECT_FALSE(data().isAnswered());
    data().setAnswered();
    EXPECT_TRUE(data().isAnswered());
}

TEST_F(HttpRequestDataTest, SwitchingSaysWhereToInALoggableForm) {
    data().setFailoverUrls({"https://second/"});
    const LogCapture log;
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_TRUE(log.contains("switching to next url: " + ZEBLogger_replacePIIData("https://second/")));
    EXPECT_FALSE(log.contains("https://second/"));
}

TEST_F(HttpRequestDataTest, NewFailoverUrlsForgetTheFormerAndTheFailures) {
    data().setFailoverUrls({"https://second/", "https://third/"});
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    data().setFailoverUrls({"https://other/"});
    EXPECT_THAT(data().getFailedUrlInfo(), IsEmpty());
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ("https://other/", options->url);
    EXPECT_FALSE(data().hasFailoverUrl());
    data().setFailoverUrls({});
    EXPECT_FALSE(data().hasFailoverUrl());
    EXPECT_THAT(data().getFailedUrlInfo(), IsEmpty());
}

TEST_F(HttpRequestDataTest, TheListOfFailuresIsACopy) {
    data().setFailoverUrls({"https://second/"});
    const std::vector<FailedUrlInfo> before = data().getFailedUrlInfo();
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_THAT(before, IsEmpty());
}

TEST_F(HttpRequestDataTest, WithNoFailoverUrlLeftTheUrlStaysButDerivedIdentifiersAreCleared) {
    SSLData& ssl = data().getSSLData();
    ssl.identifierToDisplay = "first";
    ssl.identifierToDisplayDefaulted = true;
    ssl.referenceIdentifiers = {"first"};
    ssl.serverCurlFQDN = "first";
    ssl.referenceIdentifiersDefaulted = true;
    const LogCapture log;
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_THAT(data().getFailedUrlInfo(), IsEmpty());
    EXPECT_EQ("https://first/", options->url);
    EXPECT_EQ("", ssl.identifierToDisplay);
    EXPECT_FALSE(ssl.identifierToDisplayDefaulted);
    EXPECT_THAT(ssl.referenceIdentifiers, IsEmpty());
    EXPECT_EQ("", ssl.serverCurlFQDN);
    EXPECT_FALSE(ssl.referenceIdentifiersDefaulted);
    EXPECT_TRUE(log.contains("resetting identifier to display"));
    EXPECT_TRUE(log.contains("resetting reference identifiers"));
}

TEST_F(HttpRequestDataTest, IdentifiersThatTheCallerSuppliedStay) {
    options->identifierToDisplay = "display";
    options->useProvidedIdentity = true;
    options->identities = {"a"};
    data().getSSLData().serverCurlFQDN = "first";
    data().setFailoverUrls({"https://second/"});
    const LogCapture log;
    data().switchToNextUrl(HttpClientResult::UNRESOLVED_HOST_ERROR);
    EXPECT_EQ("display", data().getSSLData().identifierToDisplay);
    EXPECT_THAT(data().getSSLData().referenceIdentifiers, ElementsAre("a"));
    EXPECT_EQ("first", data().getSSLData().serverCurlFQDN);
    EXPECT_FALSE(log.contains("resetting"));
}

// Policies on the handle

TEST_F(HttpRequestDataTest, WithoutPoliciesBothAreNotAvailable) {
    const LogCapture log;
    EXPECT_EQ(13, data().enforceCommonCriteriaUsagePolicy());
    EXPECT_TRUE(log.contains("CommonCriteriaUsagePolicy is null and has not been enforced."));
    EXPECT_EQ(13, data().enforceIpFamilyPreferencePolicy());
    EXPECT_TRUE(log.contains("IpFamilyPreferencePolicy is null and has not been enforced."));
}

TEST_F(HttpRequestDataTest, WithAHandleBothPoliciesAreEnforced) {
    data().consumeEasyCURLConnection(std::make_shared<EasyCURLConnection>(), nullptr);
    data().setCommonCriteriaUsageCanBeIgnored(false);
    data().setIpFamilyPreferencePolicyCanBeIgnored(false);
    data().setCommonCriteriaUsagePolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_ENABLED_POLICY);
    data().setIpFamilyPreferencePolicy(ip::IpFamilyPreferencePolicy::IPV4_ONLY_POLICY);
    const CurlOptionSpy spy;
    EXPECT_EQ(0, data().enforceCommonCriteriaUsagePolicy());
    EXPECT_EQ(0, data().enforceIpFamilyPreferencePolicy());
    ASSERT_TRUE(spy.last(CURLOPT_SSL_CIPHER_LIST) && spy.last(CURLOPT_IPRESOLVE));
    EXPECT_EQ(data().getCurlConnection()->getHandle(), spy.last(CURLOPT_SSL_CIPHER_LIST)->handle);
    EXPECT_STREQ(CommonCriteriaUsagePolicy::cipherSuitsLimitation, spy.last(CURLOPT_SSL_CIPHER_LIST)->text());
    EXPECT_EQ(data().getCurlConnection()->getHandle(), spy.last(CURLOPT_IPRESOLVE)->handle);
    EXPECT_EQ(CURL_IPRESOLVE_V4, spy.last(CURLOPT_IPRESOLVE)->number());
}

TEST_F(HttpRequestDataTest, APolicyThatLibcurlRefusesIsNotEnforced) {
    data().consumeEasyCURLConnection(std::make_shared<EasyCURLConnection>(), nullptr);
    data().setCommonCriteriaUsageCanBeIgnored(false);
    data().setIpFamilyPreferencePolicyCanBeIgnored(false);
    data().setCommonCriteriaUsagePolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_DISABLED_POLICY);
    data().setIpFamilyPreferencePolicy(ip::IpFamilyPreferencePolicy::DUAL_STACK_POLICY);
    CurlOptionSpy spy;
    spy.fail(CURLOPT_SSL_CIPHER_LIST, CURLE_OUT_OF_MEMORY);
    EXPECT_EQ(12, data().enforceCommonCriteriaUsagePolicy());
    spy.fail(CURLOPT_IPRESOLVE, CURLE_OUT_OF_MEMORY);
    EXPECT_EQ(12, data().enforceIpFamilyPreferencePolicy());
}

TEST_F(HttpRequestDataTest, AFailedPolicyIsIgnoredUnlessToldOtherwise) {
    data().setCommonCriteriaUsagePolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_ENABLED_POLICY);
    data().setIpFamilyPreferencePolicy(ip::IpFamilyPreferencePolicy::IPV4_ONLY_POLICY);
    const LogCapture log;
    EXPECT_EQ(0, data().enforceCommonCriteriaUsagePolicy()) << "there is no handle to enforce it on";
    EXPECT_TRUE(
        log.contains("Common criteria usage policy enforcement failed but the policy can be ignored."));
    EXPECT_EQ(0, data().enforceIpFamilyPreferencePolicy());
    EXPECT_TRUE(log.contains("IP family policy enforcement failed but the policy can be ignored."));
}

TEST_F(HttpRequestDataTest, AFailedPolicyThatCannotBeIgnoredFailsTheRequest) {
    data().setCommonCriteriaUsagePolicy(CommonCriteriaUsagePolicy::COMMON_CRITERIA_ENABLED_POLICY);
    data().setCommonCriteriaUsageCanBeIgnored(false);
    data().setIpFamilyPreferencePolicy(ip::IpFamilyPreferencePolicy::IPV4_ONLY_POLICY);
    data().setIpFamilyPreferencePolicyCanBeIgnored(false);
    const LogCapture log;
    EXPECT_EQ(12, data().enforceCommonCriteriaUsagePolicy());
    EXPECT_TRUE(
        log.contains("Common criteria usage policy enforcement failed and policy cannot be ignored."));
    EXPECT_EQ(12, data().enforceIpFamilyPreferencePolicy());
    EXPECT_TRUE(log.contains("IP family policy enforcement failed and policy cannot be ignored."));
}

// The connect-to list. The sanitizer sees a list that leaks or is freed twice.

TEST_F(HttpRequestDataTest, ANewConnectToListFreesTheFormer) {
    const FreedSlists freed;
    {
        HttpRequestData own(request, nullptr);
        own.setConnectToList(appended("::one:"));
        EXPECT_THAT(freed.entries(), IsEmpty());
        curl_slist* const second = appended("::two:");
        own.setConnectToList(second);
        EXPECT_EQ(second, own.getConnectToList());
        EXPECT_THAT(freed.entries(), ElementsAre("::one:"));
    }
    EXPECT_THAT(freed.entries(), ElementsAre("::one:", "::two:"));
}

TEST_F(HttpRequestDataTest, TheSameConnectToListAgainStays) {
    const FreedSlists freed;
    data().setConnectToList(appended("::one:"));
    data().setConnectToList(data().getConnectToList());
    EXPECT_THAT(freed.entries(), IsEmpty());
    data().setConnectToList(nullptr);
    EXPECT_EQ(nullptr, data().getConnectToList());
    EXPECT_THAT(freed.entries(), ElementsAre("::one:"));
}

}  // namespace
}  // namespace zeb::http::test

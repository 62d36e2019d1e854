#include "../cert/InvalidCertTestSupport.h"
#include "cert/InvalidCertManagementPolicy.h"
#include "cert/common/CertCacheInterface.h"
#include "cert/common/CertStatus.h"
#include "cert/common/CertVerifier.h"
#include "http/BasicHttpClientImpl.h"
#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Proxy.h"
#include "http/Request.h"
#include "http/Response.h"
#include "http/SSLData.h"
#include "http/VerificationLabel.h"
#include "netutils/adapters/HttpCertAdapter.h"
#include "support/CertificateBuilder.h"
#include "support/CurlOptionSpy.h"
#include "support/FakeCertVerifier.h"
#include "support/FakePlatform.h"
#include "support/LoopbackServer.h"
#include "support/TunnelProxy.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using zeb::test::CertificateBuilder;
using zeb::test::CurlOptionSpy;
using zeb::test::FakeCertVerifier;
using zeb::test::FakePlatform;
using zeb::test::IssuedCertificate;
using zeb::test::LoopbackServer;
using zeb::test::RefusedPort;
using zeb::test::TunnelProxy;

// What the label is made of

SSLData someData() {
    SSLData data;
    data.certVerifier = std::make_shared<FakeCertVerifier>(true);
    data.referenceIdentifiers = {"one.test", "two.test"};
    return data;
}

TEST(VerificationLabelTest, EqualInputsGiveEqualLabels) {
    const SSLData data = someData();
    EXPECT_EQ(VerificationLabel::of(data, 7), VerificationLabel::of(data, 7));
    EXPECT_FALSE(VerificationLabel::of(data, 7).empty());
}

TEST(VerificationLabelTest, NothingCanLieUnderTheLabelAsAPath) {
    EXPECT_EQ(VerificationLabel::of(someData(), 7).rfind("/dev/null/", 0), 0U);
}

TEST(VerificationLabelTest, TheNamesAreNotToBeReadInIt) {
    EXPECT_EQ(VerificationLabel::of(someData(), 7).find("one.test"), std::string::npos);
}

TEST(VerificationLabelTest, EachInputOfTheJudgementChangesIt) {
    const SSLData data = someData();
    const std::string label = VerificationLabel::of(data, 7);
    std::set<std::string> labels{label, VerificationLabel::of(data, 4)};
    EXPECT_EQ(labels.size(), 2U);
    const std::vector<std::function<void(SSLData&)>> changes = {
        [](SSLData& changed) { changed.certVerifier = nullptr; },
        [](SSLData& changed) { changed.certVerifier = std::make_shared<FakeCertVerifier>(true); },
        [](SSLData& changed) { changed.identityMatchModel = IdentityMatchModel::STRICT_MATCH; },
        [](SSLData& changed) { changed.sniServerName = "sni.test"; },
        [](SSLData& changed) { changed.serverCurlFQDN = "sni.test"; },
        [](SSLData& changed) { changed.referenceIdentifiers.clear(); },
        [](SSLData& changed) { changed.referenceIdentifiers.emplace_back("sni.test"); },
        [](SSLData& changed) { changed.referenceIdentifiers = {"one.testtwo.test"}; },
        [](SSLData& changed) { changed.referenceIdentifiers = {"one.test8:two.test"}; },
    };
    for (const auto& change : changes) {
        SSLData changed = data;
        change(changed);
        // Each is asked for right behind that of the unchanged inputs, which is remembered.
        EXPECT_EQ(VerificationLabel::of(data, 7), label);
        EXPECT_TRUE(labels.insert(VerificationLabel::of(changed, 7)).second);
    }
}

TEST(VerificationLabelTest, HowTheServerIsShownToAUserChangesNothing) {
    const SSLData data = someData();
    SSLData shown = data;
    shown.identifierToDisplay = "The service";
    EXPECT_EQ(VerificationLabel::of(shown, 7), VerificationLabel::of(data, 7));
}

TEST(VerificationLabelTest, AVerifierThatHasGoneLeavesItsLabelToNobody) {
    std::set<std::string> labels;
    for (int i = 0; i < 100; ++i) {  // most of them at the address of the one before
        SSLData data;
        data.certVerifier = std::make_shared<FakeCertVerifier>(true);
        EXPECT_TRUE(labels.insert(VerificationLabel::of(data, 7)).second);
    }
}

TEST(VerificationLabelTest, AnAcceptanceThatIsTakenBackChangesItInWhicheverWay) {
    using Cache = cert::CertificateValidityCache;
    const SSLData data = someData();
    const FakePlatform::Statuses statuses = {cert::CertStatus::UNKNOWN};
    const std::function<void()> ways[] = {
        [] { Cache::removeFromAcceptedInvalidCache("accepted"); },
        [&] { Cache::removeFromAcceptedInvalidCache("accepted", statuses); },
        [&] { Cache::addRejectedInvalidCertificate("accepted", statuses); },
        [] { Cache::clearAcceptedInvalidCerts(); },
        [] { Cache::clear(); },
    };
    for (const auto& takeBack : ways) {
        Cache::clear();
        Cache::addAcceptedInvalidCertificate("accepted", statuses);
        const std::string before = VerificationLabel::of(data, 7);
        takeBack();
        EXPECT_NE(VerificationLabel::of(data, 7), before);
    }
    const auto certificate = CertificateBuilder().build();
    Cache::addAcceptedValidCertificate(certificate.get());
    const std::string before = VerificationLabel::of(data, 7);
    Cache::addRejectedInvalidCertificate(certificate.get(), statuses);
    EXPECT_NE(VerificationLabel::of(data, 7), before) << "though it had been called a valid one";
    Cache::clear();
}

TEST(VerificationLabelTest, WhatTakesNoAcceptanceBackChangesNothing) {
    using Cache = cert::CertificateValidityCache;
    const SSLData data = someData();
    const FakePlatform::Statuses statuses = {cert::CertStatus::UNKNOWN};
    Cache::addRejectedInvalidCertificate("both", statuses);
    const std::string before = VerificationLabel::of(data, 7);
    Cache::addAcceptedInvalidCertificate("both", statuses);
    Cache::addRejectedInvalidCertificate("both", statuses);  // as it was already
    Cache::addRejectedInvalidCertificate("a stranger", statuses);
    Cache::removeFromAcceptedInvalidCache("a stranger");
    Cache::removeFromAcceptedInvalidCache("both", {cert::CertStatus::EXPIRED});  // no longer what was read
    Cache::removeFromRejectedInvalidCache("both");
    Cache::removeFromRejectedInvalidCache("a stranger", statuses);
    EXPECT_EQ(VerificationLabel::of(data, 7), before);
    Cache::clear();
}

TEST(VerificationLabelTest, ARequestWithoutAHandleIsLeftAlone) {
    HttpRequestData data(std::make_shared<Request>("https://localhost/"), nullptr);
    EXPECT_NO_FATAL_FAILURE(VerificationLabel::putOn(data));
}

TEST(VerificationLabelTest, WhatWasTrustedBeforeDecisionsWereForgottenHasAnother) {
    const SSLData data = someData();
    const std::string atFirst = VerificationLabel::of(data, 7);
    cert::CertCacheInterface::clearAcceptedInvalidCerts();
    const std::string later = VerificationLabel::of(data, 7);
    EXPECT_NE(later, atFirst);
    cert::CertCacheInterface::clearInvalidCertificateCache();
    EXPECT_NE(VerificationLabel::of(data, 7), later);
    EXPECT_NE(VerificationLabel::of(data, 7), atFirst);
}

// What comes of it on the wire

LoopbackServer::Options presenting(const std::vector<std::string>& names) {
    // libcurl itself refuses a certificate whose issuer has no name at all.
    const IssuedCertificate certificate = CertificateBuilder().commonName("A server").dnsNames(names).build();
    LoopbackServer::Options options;
    options.tls = LoopbackServer::Tls{certificate.pem(), certificate.keyPem()};
    return options;
}

LoopbackServer::Reply hello(const LoopbackServer::Request& request) {
    return request.target == "/away" ? LoopbackServer::Reply::response(302, "", {{"Location", "/"}})
                                     : LoopbackServer::Reply::response(200, "hello");
}

std::shared_ptr<CertVerifier> namesAlone() {
    return std::make_shared<netutils::adapters::HttpCertAdapter>(
        std::make_shared<cert::CertVerifier>(std::make_shared<FakePlatform>()));
}

std::shared_ptr<Request> expecting(const std::string& url, const std::vector<std::string>& identities) {
    const auto request = std::make_shared<Request>(url);
    request->getOptions()->useProvidedIdentity = true;
    request->getOptions()->identities = identities;
    return request;
}

class KeptConnectionTest : public testing::Test {
protected:
    HttpClientResult::Result run(const std::shared_ptr<Request>& request) {
        Response response;
        return client_->execute(request, response);
    }
    HttpClientResult::Result get(const LoopbackServer& server) {
        return run(std::make_shared<Request>(server.secureUrl("/")));
    }

    const std::shared_ptr<BasicHttpClientImpl> client_ =
        BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, namesAlone(), nullptr, nullptr);
};

TEST_F(KeptConnectionTest, WithoutALabelLibcurlLendsItToARequestThatItsOwnVerificationWouldRefuse) {
    LoopbackServer server(hello, presenting({"service.test"}));
    CurlOptionSpy spy;
    spy.fail(CURLOPT_CAPATH, CURLE_OK);  // it never reaches libcurl
    ASSERT_EQ(run(expecting(server.secureUrl("/"), {"service.test"})), HttpClientResult::SUCCESS);
    EXPECT_EQ(get(server), HttpClientResult::SUCCESS) << "this is what the label is for";
    EXPECT_EQ(server.connections(), 1U);
}

TEST_F(KeptConnectionTest, AcceptedForAnotherNameItIsNotLent) {
    LoopbackServer server(hello, presenting({"service.test"}));
    ASSERT_EQ(run(expecting(server.secureUrl("/"), {"service.test"})), HttpClientResult::SUCCESS);
    EXPECT_EQ(get(server), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(server.requests().size(), 1U) << "nothing was sent";
}

TEST_F(KeptConnectionTest, AcceptedForTheHostAloneItIsNotLentToARequestThatDemandsMore) {
    LoopbackServer server(hello, presenting({"localhost"}));
    ASSERT_EQ(get(server), HttpClientResult::SUCCESS);
    const auto strict = expecting(server.secureUrl("/"), {"service.test"});
    strict->getOptions()->certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
    EXPECT_EQ(run(strict), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(KeptConnectionTest, AcceptedSoftlyItIsNotLentToAStrictRequestForTheSameNames) {
    LoopbackServer server(hello, presenting({"service.test"}));
    ASSERT_EQ(run(expecting(server.secureUrl("/"), {"service.test"})), HttpClientResult::SUCCESS);
    const auto strict = expecting(server.secureUrl("/"), {"service.test"});
    strict->getOptions()->certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
    EXPECT_EQ(run(strict), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
}

TEST_F(KeptConnectionTest, RequestsOfEqualInputsShareItInWhateverOrderTheyCome) {
    LoopbackServer server(hello, presenting({"localhost", "service.test"}));
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(get(server), HttpClientResult::SUCCESS);
        ASSERT_EQ(run(expecting(server.secureUrl("/"), {"service.test"})), HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(server.requests().size(), 6U);
    EXPECT_EQ(server.connections(), 2U);
}

TEST_F(KeptConnectionTest, ARedirectThatTakesTheGivenNamesAwayLeadsOverAConnectionThatTheHostsOwnNameOpens) {
    LoopbackServer good(hello, presenting({"localhost", "service.test"}));
    ASSERT_EQ(run(expecting(good.secureUrl("/away"), {"service.test"})), HttpClientResult::SUCCESS);
    EXPECT_EQ(good.connections(), 2U);
    ASSERT_EQ(get(good), HttpClientResult::SUCCESS);
    EXPECT_EQ(good.connections(), 2U) << "that connection serves requests without names of their own";

    LoopbackServer bad(hello, presenting({"service.test"}));
    EXPECT_EQ(run(expecting(bad.secureUrl("/away"), {"service.test"})),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(bad.requests().size(), 1U);
}

TEST_F(KeptConnectionTest, ARedirectThatChangesNoNameStaysOnIt) {
    LoopbackServer server(hello, presenting({"localhost"}));
    ASSERT_EQ(run(std::make_shared<Request>(server.secureUrl("/away"))), HttpClientResult::SUCCESS);
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(server.connections(), 1U);
}

TEST_F(KeptConnectionTest, WithoutALabelARequestGetsAConnectionForItselfAlone) {
    LoopbackServer server(hello, presenting({"localhost"}));
    ASSERT_EQ(get(server), HttpClientResult::SUCCESS);
    {
        CurlOptionSpy spy;
        spy.fail(CURLOPT_CAPATH, CURLE_OUT_OF_MEMORY);
        ASSERT_EQ(get(server), HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(server.connections(), 2U);
    EXPECT_TRUE(server.waitForEnded(1));
    ASSERT_EQ(get(server), HttpClientResult::SUCCESS);
    EXPECT_EQ(server.connections(), 2U) << "the labelled one is still good for its own";
}

TEST_F(KeptConnectionTest, AnAcceptedHostLeadsNowhereThatItsOwnVerificationRefuses) {
    LoopbackServer bad(hello, presenting({"service.test"}));
    const std::string away = bad.secureUrl("/");
    LoopbackServer good(
        [&away](const LoopbackServer::Request&) {
            return LoopbackServer::Reply::response(302, "", {{"Location", away}});
        },
        presenting({"localhost", "service.test"}));
    EXPECT_EQ(get(good), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(run(expecting(good.secureUrl("/"), {"service.test"})),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(good.requests().size(), 2U);
    EXPECT_TRUE(bad.requests().empty()) << "nothing was sent there";
}

TEST_F(KeptConnectionTest, ARedirectThatCannotBeLabelledAnewLeadsNowhere) {
    LoopbackServer bad(hello, presenting({"service.test"}));
    ASSERT_EQ(run(expecting(bad.secureUrl("/"), {"service.test"})), HttpClientResult::SUCCESS);
    const std::string away = bad.secureUrl("/");
    CurlOptionSpy spy;
    LoopbackServer good(
        [&](const LoopbackServer::Request&) {
            spy.fail(CURLOPT_CAPATH, CURLE_OUT_OF_MEMORY);
            return LoopbackServer::Reply::response(302, "", {{"Location", away}});
        },
        presenting({"localhost", "service.test"}));
    EXPECT_NE(run(expecting(good.secureUrl("/"), {"service.test"})), HttpClientResult::SUCCESS);
    EXPECT_EQ(good.requests().size(), 1U);
    EXPECT_EQ(bad.requests().size(), 1U) << "not over the connection that was kept for the given names";
}

TEST_F(KeptConnectionTest, AFailoverIsJudgedUnderTheNameOfTheNextUrl) {
    const RefusedPort nobody;
    const auto failingOverTo = [&](const LoopbackServer& server) {
        const auto request = std::make_shared<Request>(nobody.url("/"));
        request->getOptions()->failoverUrls = {server.secureUrl("/")};
        return request;
    };
    LoopbackServer good(hello, presenting({"localhost"}));
    EXPECT_EQ(run(failingOverTo(good)), HttpClientResult::SUCCESS);
    LoopbackServer bad(hello, presenting({"service.test"}));
    ASSERT_EQ(run(expecting(bad.secureUrl("/"), {"service.test"})), HttpClientResult::SUCCESS);
    EXPECT_EQ(run(failingOverTo(bad)), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(bad.requests().size(), 1U) << "not over the connection that was kept";
}

std::shared_ptr<Request> through(const std::string& proxyUrl, std::shared_ptr<Request> request) {
    const auto proxy = std::make_shared<Proxy>();
    proxy->setProxyServer(proxyUrl, ProxyType::HTTP);
    request->setProxy(proxy);
    return request;
}

TEST_F(KeptConnectionTest, ATunnelOfAProxyIsSharedByRequestsOfEqualInputsAndLentToNoOthers) {
    LoopbackServer server(hello, presenting({"service.test"}));
    const TunnelProxy proxy(server.port());
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(run(through(proxy.url(), expecting(server.secureUrl("/"), {"service.test"}))),
                  HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(proxy.tunnels(), 1U);
    EXPECT_EQ(run(through(proxy.url(), std::make_shared<Request>(server.secureUrl("/")))),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST_F(KeptConnectionTest, AConnectionToAProxyOverTlsIsLentToNoRequestOfOtherNames) {
    LoopbackServer proxy(hello, presenting({"localhost"}));
    const std::string url = "https://localhost:" + std::to_string(proxy.port());
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(run(through(url, expecting("http://inside.test/", {"localhost"}))),
                  HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(proxy.connections(), 1U);
    EXPECT_EQ(run(through(url, std::make_shared<Request>("http://inside.test/"))),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR)
        << "the proxy's certificate is judged, too, and for that name it has none";
    EXPECT_EQ(proxy.requests().size(), 2U);
}

// What was trusted can be taken back

const FakePlatform::Statuses UNTRUSTED = {cert::CertStatus::UNKNOWN};

class WithdrawnTrustTest : public testing::Test {
protected:
    using Management = cert::InvalidCertManagementPolicy;

    WithdrawnTrustTest() { verifier_->addPolicy(Management::SILENTLY_SUCCEED_POLICY); }

    HttpClientResult::Result get() {
        Response response;
        return client_->execute(std::make_shared<Request>(server_.secureUrl("/")), response);
    }

    LoopbackServer server_{hello, presenting({"localhost"})};
    const std::shared_ptr<cert::CertVerifier> verifier_ =
        std::make_shared<cert::CertVerifier>(std::make_shared<FakePlatform>(UNTRUSTED));
    const std::shared_ptr<BasicHttpClientImpl> client_ = BasicHttpClientImpl::buildBasicHttpClientImpl(
        nullptr, std::make_shared<netutils::adapters::HttpCertAdapter>(verifier_), nullptr, nullptr);
};

TEST_F(WithdrawnTrustTest, AConnectionThatAFormerPolicyLetThroughServesNoLaterRequest) {
    ASSERT_EQ(get(), HttpClientResult::SUCCESS);
    verifier_->addPolicy(Management::SILENTLY_FAIL_POLICY);
    EXPECT_EQ(get(), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(server_.requests().size(), 1U) << "nothing was sent";
}

TEST_F(WithdrawnTrustTest, NeitherDoesOneWhosePolicyWasRemoved) {
    ASSERT_EQ(get(), HttpClientResult::SUCCESS);
    verifier_->removePolicy(common::Policy::PolicyNature::INVALID_CERT_MANAGEMENT);
    EXPECT_EQ(get(), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(WithdrawnTrustTest, OnceDecisionsAreForgottenTheCertificateIsJudgedAnew) {
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(get(), HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(server_.connections(), 1U);
    cert::CertCacheInterface::clearAcceptedInvalidCerts();
    ASSERT_EQ(get(), HttpClientResult::SUCCESS);
    EXPECT_EQ(server_.connections(), 2U);
}

TEST_F(WithdrawnTrustTest, ThePolicyThatIsThereAlreadyAndAVerifierThatHasJudgedNothingCostNoConnection) {
    ASSERT_EQ(get(), HttpClientResult::SUCCESS);
    verifier_->addPolicy(Management::SILENTLY_SUCCEED_POLICY);
    cert::CertVerifier(std::make_shared<FakePlatform>(UNTRUSTED)).addPolicy(Management::SILENTLY_FAIL_POLICY);
    ASSERT_EQ(get(), HttpClientResult::SUCCESS);
    EXPECT_EQ(server_.connections(), 1U);
}

class UsersDecisionTest : public cert::InvalidCertTest {};

TEST_F(UsersDecisionTest, AConnectionThatAUserLetThroughServesNobodyOnceHeRejectsItsCertificateElsewhere) {
    const auto listener = listen([](const cert::InvalidCertInfo& info) {
        info.statuses.count(cert::CertStatus::CN_NO_MATCH) == 0 ? accept(info) : reject(info);
    });
    const auto verifier = std::make_shared<cert::CertVerifier>(std::make_shared<FakePlatform>(UNTRUSTED));
    verifier->addPolicy(cert::PromptingBuilder().build());
    const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(
        nullptr, std::make_shared<netutils::adapters::HttpCertAdapter>(verifier), nullptr, nullptr);
    const LoopbackServer::Options options = presenting({"localhost"});
    LoopbackServer first(hello, options);
    LoopbackServer second(hello, options);
    const auto run = [&](const std::shared_ptr<Request>& request) {
        Response response;
        return client->execute(request, response);
    };

    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(run(std::make_shared<Request>(first.secureUrl("/"))), HttpClientResult::SUCCESS);
    }
    ASSERT_EQ(first.connections(), 1U);
    const auto strict = expecting(second.secureUrl("/"), {"service.test"});
    strict->getOptions()->certIdentityValidationModel = IdentityMatchModel::STRICT_MATCH;
    ASSERT_EQ(run(strict), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(run(std::make_shared<Request>(first.secureUrl("/"))),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(first.requests().size(), 2U) << "nothing was sent";
    EXPECT_EQ(listener->calls(), 2U) << "the rejection is remembered";
}

// The connection cache that the handles of a multi handle share

class SharedConnectionsTest : public testing::Test {
protected:
    /// Runs the request on an easy handle of its own within the one multi handle. A CURLcode.
    CURLcode run(const std::shared_ptr<Request>& request, const std::shared_ptr<CertVerifier>& verifier) {
        const auto data = std::make_shared<HttpRequestData>(request, verifier);
        data->consumeEasyCURLConnection(std::make_shared<EasyCURLConnection>(), nullptr);
        EXPECT_TRUE(CurlHttpUtils::configureEasyRequest(data));
        curl_multi_add_handle(multi_.get(), data->getEasyHandle());
        CURLcode code = CURLE_OK;
        for (int running = 1, queued = 0; running != 0;) {
            curl_multi_perform(multi_.get(), &running);
            while (const CURLMsg* const message = curl_multi_info_read(multi_.get(), &queued)) {
                code = message->data.result;
            }
            curl_multi_wait(multi_.get(), nullptr, 0, 100, nullptr);
        }
        curl_multi_remove_handle(multi_.get(), data->getEasyHandle());
        return code;
    }

    const std::shared_ptr<CURLM> multi_{curl_multi_init(), &curl_multi_cleanup};
};

TEST_F(SharedConnectionsTest, AConnectionIsNotLentToTheRequestOfAnotherVerifier) {
    LoopbackServer server(hello, presenting({"localhost"}));
    const auto accepting = std::make_shared<FakeCertVerifier>(true);
    const auto request = [&server] { return std::make_shared<Request>(server.secureUrl("/")); };
    ASSERT_EQ(run(request(), accepting), CURLE_OK);
    EXPECT_EQ(run(request(), std::make_shared<FakeCertVerifier>(false)), CURLE_PEER_FAILED_VERIFICATION);
    EXPECT_EQ(run(request(), nullptr), CURLE_PEER_FAILED_VERIFICATION);
    ASSERT_EQ(run(request(), accepting), CURLE_OK);
    EXPECT_EQ(accepting->questions().size(), 1U) << "the connection is still good for its own";
    EXPECT_EQ(server.requests().size(), 2U);
}

// Sessions

TEST(TlsSessionTest, EachNewConnectionIsJudgedForNoSessionIsResumed) {
    LoopbackServer server(hello, presenting({"localhost"}));
    const auto verifier = std::make_shared<FakeCertVerifier>(true);
    const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, verifier, nullptr, nullptr);
    for (int i = 0; i < 3; ++i) {
        const auto request = std::make_shared<Request>(server.secureUrl("/"));
        request->getOptions()->forbidReuse = true;
        Response response;
        ASSERT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(server.handshakes(), 3U);
    EXPECT_EQ(server.resumedHandshakes(), 0U);
    EXPECT_EQ(verifier->questions().size(), 3U);
}

TEST(TlsSessionTest, AResumedSessionWouldNotBeJudged) {
    LoopbackServer server(hello, presenting({"localhost"}));
    const auto verifier = std::make_shared<FakeCertVerifier>(true);
    const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, verifier, nullptr, nullptr);
    CurlOptionSpy spy;
    spy.fail(CURLOPT_SSL_SESSIONID_CACHE, CURLE_OK);  // it never reaches libcurl, whose default is to resume
    for (int i = 0; i < 2; ++i) {
        const auto request = std::make_shared<Request>(server.secureUrl("/"));
        request->getOptions()->forbidReuse = true;
        Response response;
        ASSERT_EQ(client->execute(request, response), HttpClientResult::SUCCESS);
    }
    EXPECT_EQ(server.resumedHandshakes(), 1U);
    EXPECT_EQ(verifier->questions().size(), 1U) << "this is what CURLOPT_SSL_SESSIONID_CACHE 0 is for";
}

}  // namespace
}  // namespace zeb::http::test

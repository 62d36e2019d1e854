#include "http/CommonCriteriaUsagePolicy.h"
#include "support/CurlOptionSpy.h"
#include "support/LoopbackServer.h"

#include <memory>
#include <set>
#include <sstream>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::http {
namespace {

using P = CommonCriteriaUsagePolicy;
using V = CommonCriteriaUsagePolicy::PolicyValue;
using common::Policy;
using testing::Contains;
using testing::IsSubsetOf;
using zeb::test::CurlOptionSpy;
using zeb::test::LoopbackServer;

const std::string DEFAULT_LIST =
    "EECDH+aRSA+AESGCM:HIGH:MEDIUM:!DH!DSS:!MD5:!DSS:!aNULL:!eNULL:!ADH:!LOW:!3DES:!EXP:!PSK:!SRP:!DSS:!RC4:"
    "!SEED";
const std::string LIMITED_LIST =
    "EECDH+aRSA+AESGCM:EECDH+ECDSA+AESGCM:EECDH+ECDSA+SHA256:EECDH+aRSA+SHA256:EECDH+ECDSA+SHA384:"
    "EECDH+aRSA+SHA384:!aNULL:!eNULL:!MEDIUM:!ADH:!LOW:!3DES:!MD5:!EXP:!PSK:!SRP:!DSS:!RC4:!SEED";

class CommonCriteriaUsagePolicyTest : public testing::Test {
protected:
    const std::unique_ptr<CURL, void (*)(CURL*)> curl{curl_easy_init(), curl_easy_cleanup};

    void expectOptions(const P& policy, long version, const std::string& ciphers) {
        const CurlOptionSpy spy;
        EXPECT_EQ(Policy::PolicyEnforcingResult::SUCCESS, policy.enforce(curl.get()));
        ASSERT_EQ(2U, spy.calls().size());
        EXPECT_EQ(32, spy.calls()[0].option);
        EXPECT_EQ(version, spy.calls()[0].number());
        EXPECT_EQ(10083, spy.calls()[1].option);
        EXPECT_EQ(ciphers, spy.calls()[1].text());
    }

    /// The cipher suites that the handle offers in its first TLS message.
    std::set<int> offeredSuites() {
        LoopbackServer::Options options;
        options.closeAfterReceiving = 5 + 4 + 2 + 32 + 1 + 32 + 2 + 256;
        LoopbackServer server([](const LoopbackServer::Request&) { return LoopbackServer::Reply::close(); },
                              options);
        curl_easy_setopt(curl.get(), CURLOPT_URL,
                         ("https://127.0.0.1:" + std::to_string(server.port())).c_str());
        curl_easy_setopt(curl.get(), CURLOPT_TIMEOUT, 10L);
        curl_easy_setopt(curl.get(), CURLOPT_CAINFO, nullptr);
        curl_easy_setopt(curl.get(), CURLOPT_CAPATH, nullptr);
        EXPECT_EQ(CURLE_SSL_CONNECT_ERROR, curl_easy_perform(curl.get()));
        EXPECT_TRUE(server.waitForEnded(1));
        return suitesOf(server.received(0));
    }

private:
    static std::size_t numberAt(const std::string& bytes, std::size_t position) {
        return static_cast<std::size_t>(static_cast<unsigned char>(bytes.at(position)));
    }

    /// RFC 5246, 7.4.1.2: record, handshake header, version, random, session id, cipher suites.
    static std::set<int> suitesOf(const std::string& hello) {
        std::size_t position = 5 + 4 + 2 + 32;
        position += 1 + numberAt(hello, position);
        const std::size_t length = (numberAt(hello, position) << 8U) + numberAt(hello, position + 1);
        std::set<int> suites;
        for (std::size_t i = position + 2; i < position + 2 + length; i += 2) {
            suites.insert(static_cast<int>((numberAt(hello, i) << 8U) + numberAt(hello, i + 1)));
        }
        return suites;
    }
};

TEST_F(CommonCriteriaUsagePolicyTest, DisabledSetsTheDefaultVersionAndList) {
    expectOptions(*P::COMMON_CRITERIA_DISABLED_POLICY, 0, DEFAULT_LIST);
}

TEST_F(CommonCriteriaUsagePolicyTest, EnabledSetsTls12AndTheLimitedList) {
    expectOptions(*P::COMMON_CRITERIA_ENABLED_POLICY, 6, LIMITED_LIST);
}

TEST_F(CommonCriteriaUsagePolicyTest, TheCipherListIsNotTriedWhenTheVersionFails) {
    CurlOptionSpy spy;
    spy.fail(CURLOPT_SSLVERSION, CURLE_UNKNOWN_OPTION);
    EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE,
              P::COMMON_CRITERIA_ENABLED_POLICY->enforce(curl.get()));
    EXPECT_EQ(1U, spy.calls().size());
}

TEST_F(CommonCriteriaUsagePolicyTest, AFailingCipherListIsAFailure) {
    for (const auto& policy : {P::COMMON_CRITERIA_ENABLED_POLICY, P::COMMON_CRITERIA_DISABLED_POLICY}) {
        CurlOptionSpy spy;
        spy.fail(CURLOPT_SSL_CIPHER_LIST, CURLE_OUT_OF_MEMORY);
        EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE, policy->enforce(curl.get()));
    }
}

TEST_F(CommonCriteriaUsagePolicyTest, FailsWithoutAHandle) {
    EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE,
              P::COMMON_CRITERIA_DISABLED_POLICY->enforce(nullptr));
}

TEST_F(CommonCriteriaUsagePolicyTest, AnUnknownValueFailsWithoutACall) {
    const CurlOptionSpy spy;
    const P unknown(static_cast<V::Value>(2));
    EXPECT_EQ(Policy::PolicyEnforcingResult::ENFORCING_FAILURE, unknown.enforce(curl.get()));
    EXPECT_TRUE(spy.calls().empty());
    EXPECT_EQ("2", unknown.getName());
    EXPECT_FALSE(unknown.isCommonCriteriaEnabled());
    EXPECT_EQ("ALL", unknown.getCipherSuits());
}

TEST_F(CommonCriteriaUsagePolicyTest, EnabledOffersForwardSecrecyWithGcmOrSha2OnTheWire) {
    ASSERT_EQ(0, static_cast<int>(P::COMMON_CRITERIA_ENABLED_POLICY->enforce(curl.get())));
    // ECDHE with ECDSA and RSA: AES-GCM, AES-CBC-SHA2, Camellia-CBC-SHA2; then TLS 1.3 and the SCSV.
    EXPECT_THAT(offeredSuites(),
                IsSubsetOf({0xC02B, 0xC02C, 0xC02F, 0xC030, 0xC023, 0xC024, 0xC027, 0xC028, 0xC072, 0xC073,
                            0xC076, 0xC077, 0x1301, 0x1302, 0x1303, 0x00FF}));
}

TEST_F(CommonCriteriaUsagePolicyTest, DisabledOffersRsaKeyExchangeOnTheWireToo) {
    ASSERT_EQ(0, static_cast<int>(P::COMMON_CRITERIA_DISABLED_POLICY->enforce(curl.get())));
    EXPECT_THAT(offeredSuites(), Contains(0x009C));  // AES128-GCM-SHA256
}

TEST_F(CommonCriteriaUsagePolicyTest, TheCipherSuitsAreTheLimitedListOrAll) {
    EXPECT_EQ(LIMITED_LIST, P::COMMON_CRITERIA_ENABLED_POLICY->getCipherSuits());
    EXPECT_EQ("ALL", P::COMMON_CRITERIA_DISABLED_POLICY->getCipherSuits());
    EXPECT_EQ(DEFAULT_LIST, P::cipherSuitsDefault);
    EXPECT_EQ(LIMITED_LIST, P::cipherSuitsLimitation);
    EXPECT_STREQ("ALL", P::cipherSuitsAll);
}

TEST_F(CommonCriteriaUsagePolicyTest, TheValuesHaveTheirNumbersAndNames) {
    EXPECT_EQ(0, static_cast<int>(V::DISABLE_COMMON_CRITERIA_POLICY));
    EXPECT_EQ(1, static_cast<int>(V::ENABLE_COMMON_CRITERIA_POLICY));
    EXPECT_EQ("DISABLE_COMMON_CRITERIA_POLICY", P::COMMON_CRITERIA_DISABLED_POLICY->getName());
    EXPECT_EQ("ENABLE_COMMON_CRITERIA_POLICY", P::COMMON_CRITERIA_ENABLED_POLICY->getName());
    std::ostringstream stream;
    stream << V::ENABLE_COMMON_CRITERIA_POLICY << ' ' << static_cast<V::Value>(2);
    EXPECT_EQ("ENABLE_COMMON_CRITERIA_POLICY 2", stream.str());
}

TEST_F(CommonCriteriaUsagePolicyTest, OnlyTheEnabledPolicyIsEnabled) {
    EXPECT_TRUE(P::COMMON_CRITERIA_ENABLED_POLICY->isCommonCriteriaEnabled());
    EXPECT_FALSE(P::COMMON_CRITERIA_DISABLED_POLICY->isCommonCriteriaEnabled());
}

TEST_F(CommonCriteriaUsagePolicyTest, IsSoftInputIndependentAndAlwaysEnforceable) {
    const P& policy = *P::COMMON_CRITERIA_ENABLED_POLICY;
    EXPECT_EQ(Policy::PolicyNature::COMMON_CRITERIA_USAGE, policy.getNature());
    EXPECT_EQ(Policy::PolicyFailureClass::SOFT, policy.getFailureClass());
    EXPECT_TRUE(policy.isInputIndependent());
    EXPECT_TRUE(policy.verifyEnforceability());
}

TEST_F(CommonCriteriaUsagePolicyTest, EqualsByBaseAndValue) {
    const P& enabled = *P::COMMON_CRITERIA_ENABLED_POLICY;
    EXPECT_TRUE(enabled.equals(P(V::ENABLE_COMMON_CRITERIA_POLICY)));
    EXPECT_FALSE(enabled.equals(*P::COMMON_CRITERIA_DISABLED_POLICY));
    EXPECT_FALSE(enabled.equals(*Policy::UNKNOWN_POLICY));
    EXPECT_FALSE(enabled.equals(Policy(P::NATURE, Policy::PolicyFailureClass::SOFT, true)));
}

}  // namespace
}  // namespace zeb::http

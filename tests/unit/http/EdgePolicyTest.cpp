#include "http/EdgePolicy.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "support/FakeGlobalEdgeState.h"
#include "unit/http/MockEdgeTransformer.h"

#include <ostream>
#include <sstream>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::_;
using ::testing::Combine;
using ::testing::NiceMock;
using ::testing::Ref;
using ::testing::Return;
using ::testing::StrictMock;
using ::testing::Values;
using zeb::test::InstalledGlobalEdgeState;

using Enforcing = common::Policy::PolicyEnforcingResult;
using V = EdgePolicy::PolicyValue;
using TransformResult = EdgeTransformer::TransformRequestResult;

constexpr char URL[] = "https://host/";
constexpr V::Value NO_VALUE = static_cast<V::Value>(6);

std::shared_ptr<HttpRequestData> newRun() {
    return std::make_shared<HttpRequestData>(std::make_shared<Request>(URL), nullptr);
}

/// What the policy is held against: whether each kind of connectivity is there.
struct World {
    bool internalAvailable;
    bool edgeAvailable;
};

std::ostream& operator<<(std::ostream& stream, const World& world) {
    return stream << (world.internalAvailable ? "internal" : "-") << '/'
                  << (world.edgeAvailable ? "edge" : "-");
}

bool isValueThatMayGoDirectly(V::Value value) {
    return value == V::USE_IF_REQUIRED || value == V::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN ||
           value == V::USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH ||
           value == V::USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE;
}

/// The table of enforceability.
bool isEnforceable(V::Value value, const World& world) {
    if (isValueThatMayGoDirectly(value)) {
        return world.internalAvailable || world.edgeAvailable;
    }
    return value == V::NEVER_USE || (value == V::ALWAYS_USE && world.edgeAvailable);
}

/// Whether an enforceable policy has the request or response changed.
bool goesThroughTheEdge(V::Value value, const World& world) {
    return value == V::ALWAYS_USE || (isValueThatMayGoDirectly(value) && !world.internalAvailable);
}

/// Expects the one call of the transformer that the value stands for.
void expectTransformation(MockEdgeTransformer& transformer, V::Value value,
                          const std::shared_ptr<HttpRequestData>& run, TransformResult::Result result) {
    switch (value) {
        case V::USE_IF_REQUIRED:
        case V::ALWAYS_USE:
            EXPECT_CALL(transformer, transformRequest(run)).WillOnce(Return(result));
            break;
        case V::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN:
            EXPECT_CALL(transformer, transformRequestUsingRequestOAuthToken(run)).WillOnce(Return(result));
            break;
        case V::USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH:
            EXPECT_CALL(transformer, transformRequestUsingXEdgeAuth(run)).WillOnce(Return(result));
            break;
        case V::USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE:
            EXPECT_CALL(transformer, transformRequestUsingEdgeTokenAndLumenCookie(run))
                .WillOnce(Return(result));
            break;
        default:
            FAIL() << value << " transforms nothing";
    }
}

const auto ALL_VALUES = Values(V::USE_IF_REQUIRED, V::NEVER_USE, V::ALWAYS_USE,
                               V::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN,
                               V::USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH,
                               V::USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE, NO_VALUE);
const auto ALL_WORLDS =
    Values(World{false, false}, World{false, true}, World{true, false}, World{true, true});
const auto ALL_RESULTS =
    Values(TransformResult::SUCCESS, TransformResult::INVALID_PARAMETERS, TransformResult::MALFORMED_REQUEST,
           TransformResult::EDGE_ENVIRONMENT_UNAVAILABLE, TransformResult::EDGE_AUTHENTICATION_FAILED,
           TransformResult::EDGE_TOKEN_EXPIRED, TransformResult::EDGE_PROXY_TOKEN_EXPIRED,
           TransformResult::EDGE_SSL_CONNECTION_ERROR, TransformResult::EDGE_DISABLED_BY_OVT_POLICY,
           TransformResult::UNKNOWN);

// The whole table: value, connectivity, result of the transformer

class EdgePolicyTableTest
    : public testing::TestWithParam<std::tuple<V::Value, World, TransformResult::Result>> {
protected:
    const V::Value value = std::get<0>(GetParam());
    const World world = std::get<1>(GetParam());
    const TransformResult::Result transformed = std::get<2>(GetParam());
    const EdgePolicy policy{value};
    const InstalledGlobalEdgeState edge{world.internalAvailable, world.edgeAvailable};
    const std::shared_ptr<StrictMock<MockEdgeTransformer>> transformer =
        std::make_shared<StrictMock<MockEdgeTransformer>>();
};

TEST_P(EdgePolicyTableTest, IsEnforceableAsTheTableSays) {
    EXPECT_EQ(isEnforceable(value, world), policy.verifyEnforceability());
}

TEST_P(EdgePolicyTableTest, OnARequestThatHasNotBeenTransformed) {
    const auto run = newRun();
    Enforcing::EnforcingResult expected = Enforcing::NOT_ENFORCEABLE;
    auto kept = TransformResult::UNKNOWN;
    if (isEnforceable(value, world)) {
        expected = Enforcing::SUCCESS;
        if (value != V::NEVER_USE) {
            EXPECT_CALL(*transformer, isRequestTransformed(Ref(run->getWrapper()))).WillOnce(Return(false));
        }
        if (goesThroughTheEdge(value, world)) {
            expectTransformation(*transformer, value, run, transformed);
            if (transformed != TransformResult::SUCCESS) {
                expected = Enforcing::ENFORCING_FAILURE;
                kept = transformed;
            }
        }
    }
    EXPECT_EQ(expected, policy.enforce(run, transformer));
    EXPECT_EQ(kept, run->getEdgeTransformResult());
}

TEST_P(EdgePolicyTableTest, OnTheCookiesOfAResponse) {
    Response response;
    Enforcing::EnforcingResult expected = Enforcing::NOT_ENFORCEABLE;
    if (isEnforceable(value, world)) {
        expected = Enforcing::SUCCESS;
        if (goesThroughTheEdge(value, world)) {
            EXPECT_CALL(*transformer, removeTransformedCookies(Ref(response), URL))
                .WillOnce(Return(transformed));
            if (transformed != TransformResult::SUCCESS) {
                expected = Enforcing::ENFORCING_FAILURE;
            }
        }
    }
    EXPECT_EQ(expected, policy.enforce(response, URL, transformer));
}

INSTANTIATE_TEST_SUITE_P(All, EdgePolicyTableTest, Combine(ALL_VALUES, ALL_WORLDS, ALL_RESULTS));

class EdgePolicyTransformedTest : public testing::TestWithParam<std::tuple<V::Value, World>> {};

TEST_P(EdgePolicyTransformedTest, ATransformedRequestEnforcedASecondTimeCallsNothing) {
    const auto [value, world] = GetParam();
    const InstalledGlobalEdgeState edge(world.internalAvailable, world.edgeAvailable);
    const auto transformer = std::make_shared<StrictMock<MockEdgeTransformer>>();
    EXPECT_CALL(*transformer, isRequestTransformed(_)).WillRepeatedly(Return(true));
    const auto run = newRun();
    EXPECT_EQ(isEnforceable(value, world) ? Enforcing::SUCCESS : Enforcing::NOT_ENFORCEABLE,
              EdgePolicy(value).enforce(run, transformer));
    EXPECT_EQ(TransformResult::UNKNOWN, run->getEdgeTransformResult());
}

TEST_P(EdgePolicyTransformedTest, ANullTransformerCountsAsNoEdgeLayer) {
    const auto [value, world] = GetParam();
    const InstalledGlobalEdgeState edge(world.internalAvailable, world.edgeAvailable);
    const bool enforced = isEnforceable(value, world) && !goesThroughTheEdge(value, world);
    const auto expected = enforced ? Enforcing::SUCCESS : Enforcing::NOT_ENFORCEABLE;
    EXPECT_EQ(expected, EdgePolicy(value).enforce(newRun(), nullptr));
    Response response;
    EXPECT_EQ(expected, EdgePolicy(value).enforce(response, URL, nullptr));
}

INSTANTIATE_TEST_SUITE_P(All, EdgePolicyTransformedTest, Combine(ALL_VALUES, ALL_WORLDS));

// What the table is about, by example

TEST(EdgePolicyTest, NeverUseIsEnforcedWithoutCallingTheTransformerEvenWithAnUnavailableEdge) {
    const InstalledGlobalEdgeState edge(false, false);
    const auto transformer = std::make_shared<StrictMock<MockEdgeTransformer>>();
    Response response;
    EXPECT_EQ(0, EdgePolicy::NEVER_USE_EDGE_POLICY->enforce(newRun(), transformer));
    EXPECT_EQ(0, EdgePolicy::NEVER_USE_EDGE_POLICY->enforce(response, URL, transformer));
    EXPECT_EQ(0, edge->internalQuestions() + edge->edgeQuestions());
}

TEST(EdgePolicyTest, AlwaysUseWithoutEdgeConnectivityIsNotEnforceable) {
    const InstalledGlobalEdgeState edge(true, false);
    const auto transformer = std::make_shared<StrictMock<MockEdgeTransformer>>();
    Response response;
    EXPECT_EQ(1, EdgePolicy::ALWAYS_USE_EDGE_POLICY->enforce(newRun(), transformer));
    EXPECT_EQ(1, EdgePolicy::ALWAYS_USE_EDGE_POLICY->enforce(response, URL, transformer));
    EXPECT_EQ(0, edge->internalQuestions());
}

TEST(EdgePolicyTest, UseIfRequiredOnTheInternalNetworkIsEnforcedAndLeavesTheUrlAlone) {
    const InstalledGlobalEdgeState edge(true, true);
    const auto transformer = std::make_shared<StrictMock<MockEdgeTransformer>>();
    EXPECT_CALL(*transformer, isRequestTransformed(_)).WillOnce(Return(false));
    const auto run = newRun();
    EXPECT_EQ(0, EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY->enforce(run, transformer));
    EXPECT_EQ(URL, run->getRequest()->getOptions()->url);
    EXPECT_EQ(0, edge->edgeQuestions());
}

TEST(EdgePolicyTest, AFailedTransformationFailsAndIsKept) {
    const InstalledGlobalEdgeState edge(false, true);
    const auto transformer = std::make_shared<NiceMock<MockEdgeTransformer>>();
    ON_CALL(*transformer, transformRequest(_))
        .WillByDefault(Return(TransformResult::EDGE_PROXY_TOKEN_EXPIRED));
    const auto run = newRun();
    EXPECT_EQ(2, EdgePolicy::ALWAYS_USE_EDGE_POLICY->enforce(run, transformer));
    EXPECT_EQ(6, run->getEdgeTransformResult());
}

TEST(EdgePolicyTest, NullRequestDataCannotBeTransformed) {
    const InstalledGlobalEdgeState edge(false, true);
    const auto transformer = std::make_shared<StrictMock<MockEdgeTransformer>>();
    EXPECT_EQ(2, EdgePolicy::ALWAYS_USE_EDGE_POLICY->enforce(nullptr, transformer));
    EXPECT_EQ(0, EdgePolicy::NEVER_USE_EDGE_POLICY->enforce(nullptr, transformer));
}

// Each question without an edge layer takes a second.

TEST(EdgePolicyTest, WithoutAnEdgeLayerIsNotEnforceableAndThrowsNothing) {
    const auto transformer = std::make_shared<StrictMock<MockEdgeTransformer>>();
    Response response;
    EXPECT_NO_THROW(EXPECT_FALSE(EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY->verifyEnforceability()));
    EXPECT_NO_THROW(EXPECT_EQ(1, EdgePolicy::ALWAYS_USE_EDGE_POLICY->enforce(newRun(), transformer)));
    EXPECT_NO_THROW(
        EXPECT_EQ(1, EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY->enforce(response, URL, transformer)));
}

TEST(EdgePolicyTest, WithoutAnEdgeLayerNeverUseIsEnforcedAtOnce) {
    Response response;
    EXPECT_TRUE(EdgePolicy::NEVER_USE_EDGE_POLICY->verifyEnforceability());
    EXPECT_EQ(0, EdgePolicy::NEVER_USE_EDGE_POLICY->enforce(newRun(), nullptr));
    EXPECT_EQ(0, EdgePolicy::NEVER_USE_EDGE_POLICY->enforce(response, URL, nullptr));
}

// The policy itself

TEST(EdgePolicyTest, EveryConstantHasItsValueAndItsText) {
    const std::pair<std::shared_ptr<EdgePolicy>, const char*> rows[] = {
        {EdgePolicy::USE_EDGE_IF_REQUIRED_POLICY, "USE_IF_REQUIRED"},
        {EdgePolicy::NEVER_USE_EDGE_POLICY, "NEVER_USE"},
        {EdgePolicy::ALWAYS_USE_EDGE_POLICY, "ALWAYS_USE"},
        {EdgePolicy::USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN_POLICY,
         "USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN"},
        {EdgePolicy::USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH_POLICY,
         "USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH"},
        {EdgePolicy::USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE_POLICY,
         "USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE"},
    };
    int number = 0;
    for (const auto& [policy, text] : rows) {
        EXPECT_EQ(number, policy->getValue()) << text;
        EXPECT_EQ(text, policy->getName());
        std::ostringstream printed;
        printed << policy->getValue();
        EXPECT_EQ(text, printed.str());
        ++number;
    }
}

TEST(EdgePolicyTest, AnUnknownValuePrintsAsItsNumber) {
    EXPECT_EQ("6", EdgePolicy(NO_VALUE).getName());
    std::ostringstream printed;
    printed << NO_VALUE;
    EXPECT_EQ("6", printed.str());
}

TEST(EdgePolicyTest, IsASoftInputIndependentPolicyOfNatureZero) {
    const EdgePolicy policy(V::ALWAYS_USE);
    EXPECT_EQ(0, policy.getNature());
    EXPECT_EQ(common::Policy::PolicyFailureClass::SOFT, policy.getFailureClass());
    EXPECT_TRUE(policy.isInputIndependent());
}

TEST(EdgePolicyTest, EqualsAPolicyOfTheSameBaseAndValueOnly) {
    const common::Policy sameBase(common::Policy::PolicyNature::EDGE_USAGE,
                                  common::Policy::PolicyFailureClass::SOFT, true);
    EXPECT_TRUE(EdgePolicy(V::ALWAYS_USE).equals(*EdgePolicy::ALWAYS_USE_EDGE_POLICY));
    EXPECT_FALSE(EdgePolicy(V::NEVER_USE).equals(*EdgePolicy::ALWAYS_USE_EDGE_POLICY));
    EXPECT_FALSE(EdgePolicy(V::ALWAYS_USE).equals(sameBase));
    EXPECT_FALSE(EdgePolicy(V::ALWAYS_USE).equals(*common::Policy::UNKNOWN_POLICY));
}

}  // namespace
}  // namespace zeb::http::test

#include "http/EdgePolicy.h"

#include "edge/GlobalEdgeState.h"
#include "http/EdgeTransformer.h"
#include "http/HttpRequestData.h"
#include "netutils/GlobalEdgeStateController.h"

#include <array>
#include <stdexcept>

namespace zeb::http {

namespace {

/// Null when the edge layer hasn't been started: a client must not hear of that by an exception.
std::shared_ptr<edge::GlobalEdgeState> edgeStateOrNull() {
    try {
        return netutils::GlobalEdgeStateController::getGlobalEdgeState();
    } catch (const std::logic_error&) {
        return nullptr;
    }
}

bool isInternalConnectivityAvailable() {
    const std::shared_ptr<edge::GlobalEdgeState> state = edgeStateOrNull();
    return state != nullptr && state->isInternalConnectivityAvailable();
}

}  // namespace

std::string EdgePolicy::PolicyValue::atString(Value value) {
    switch (value) {
        case USE_IF_REQUIRED:
            return "USE_IF_REQUIRED";
        case NEVER_USE:
            return "NEVER_USE";
        case ALWAYS_USE:
            return "ALWAYS_USE";
        case USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN:
            return "USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN";
        case USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH:
            return "USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH";
        case USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE:
            return "USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE";
    }
    return std::to_string(static_cast<int>(value));
}

EdgePolicy::EdgePolicy(PolicyValue::Value value)
    : InputIndependentPolicy(NATURE, PolicyFailureClass::SOFT), value_(value) {}

EdgePolicy::~EdgePolicy() = default;

const std::shared_ptr<EdgePolicy>& EdgePolicy::shared(PolicyValue::Value value) {
    static const auto& policies = *new std::array<std::shared_ptr<EdgePolicy>, 6>{
        std::make_shared<EdgePolicy>(PolicyValue::USE_IF_REQUIRED),
        std::make_shared<EdgePolicy>(PolicyValue::NEVER_USE),
        std::make_shared<EdgePolicy>(PolicyValue::ALWAYS_USE),
        std::make_shared<EdgePolicy>(PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN),
        std::make_shared<EdgePolicy>(PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH),
        std::make_shared<EdgePolicy>(
            PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE),
    };
    return policies.at(value);
}

bool EdgePolicy::equals(const Policy& other) const {
    if (!Policy::equals(other)) {
        return false;
    }
    const auto* const same = dynamic_cast<const EdgePolicy*>(&other);
    return same != nullptr && value_ == same->value_;
}

std::string EdgePolicy::getName() const {
    return PolicyValue::atString(value_);
}

bool EdgePolicy::mayGoDirectly() const {
    switch (value_) {
        case PolicyValue::USE_IF_REQUIRED:
        case PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN:
        case PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH:
        case PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE:
            return true;
        case PolicyValue::NEVER_USE:
        case PolicyValue::ALWAYS_USE:
            break;
    }
    return false;
}

bool EdgePolicy::verifyEnforceability() const {
    if (value_ == PolicyValue::NEVER_USE) {
        return true;
    }
    if (!mayGoDirectly() && value_ != PolicyValue::ALWAYS_USE) {
        return false;
    }
    const std::shared_ptr<edge::GlobalEdgeState> state = edgeStateOrNull();
    if (state == nullptr) {
        return false;
    }
    return (mayGoDirectly() && state->isInternalConnectivityAvailable()) ||
           state->isEdgeConnectivityAvailable();
}

common::Policy::PolicyEnforcingResult::EnforcingResult EdgePolicy::enforce(
    const std::shared_ptr<HttpRequestData>& requestData,
    const std::shared_ptr<EdgeTransformer>& transformer) const {
    if (!verifyEnforceability()) {
        return PolicyEnforcingResult::NOT_ENFORCEABLE;
    }
    if (value_ == PolicyValue::NEVER_USE) {
        return PolicyEnforcingResult::SUCCESS;  // whatever the transformer would say: it isn't asked
    }
    if (transformer != nullptr && requestData != nullptr &&
        transformer->isRequestTransformed(requestData->getWrapper())) {
        return PolicyEnforcingResult::SUCCESS;  // a failover or a retry doesn't transform twice
    }
    if (mayGoDirectly() && isInternalConnectivityAvailable()) {
        return PolicyEnforcingResult::SUCCESS;
    }
    if (transformer == nullptr) {
        return PolicyEnforcingResult::NOT_ENFORCEABLE;
    }
    if (requestData == nullptr) {
        return PolicyEnforcingResult::ENFORCING_FAILURE;
    }
    using TransformResult = EdgeTransformer::TransformRequestResult;
    TransformResult::Result result = TransformResult::UNKNOWN;
    switch (value_) {
        case PolicyValue::USE_IF_REQUIRED:
        case PolicyValue::ALWAYS_USE:
            result = transformer->transformRequest(requestData);
            break;
        case PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN:
            result = transformer->transformRequestUsingRequestOAuthToken(requestData);
            break;
        case PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH:
            result = transformer->transformRequestUsingXEdgeAuth(requestData);
            break;
        case PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE:
            result = transformer->transformRequestUsingEdgeTokenAndLumenCookie(requestData);
            break;
        default:
            return PolicyEnforcingResult::ENFORCING_FAILURE;
    }
    if (result == TransformResult::SUCCESS) {
        return PolicyEnforcingResult::SUCCESS;
    }
    requestData->setEdgeTransformResult(result);
    return PolicyEnforcingResult::ENFORCING_FAILURE;
}

common::Policy::PolicyEnforcingResult::EnforcingResult EdgePolicy::enforce(
    Response& response, const std::string& url, const std::shared_ptr<EdgeTransformer>& transformer) const {
    if (!verifyEnforceability()) {
        return PolicyEnforcingResult::NOT_ENFORCEABLE;
    }
    if (value_ == PolicyValue::NEVER_USE || (mayGoDirectly() && isInternalConnectivityAvailable())) {
        return PolicyEnforcingResult::SUCCESS;
    }
    if (transformer == nullptr) {
        return PolicyEnforcingResult::NOT_ENFORCEABLE;
    }
    return transformer->removeTransformedCookies(response, url) ==
                   EdgeTransformer::TransformRequestResult::SUCCESS
               ? PolicyEnforcingResult::SUCCESS
               : PolicyEnforcingResult::ENFORCING_FAILURE;
}

std::ostream& operator<<(std::ostream& stream, EdgePolicy::PolicyValue::Value value) {
    return stream << EdgePolicy::PolicyValue::atString(value);
}

}  // namespace zeb::http

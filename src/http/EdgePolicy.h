#pragma once

#include "common/InputIndependentPolicy.h"
#include "core/Export.h"

#include <memory>
#include <ostream>
#include <string>

namespace zeb::http {

class EdgeTransformer;
class HttpRequestData;
struct Response;

/// Whether a request goes through the edge or directly.
class ZEBNETUTILS_EXPORT EdgePolicy : public common::InputIndependentPolicy {
public:
    struct ZEBNETUTILS_EXPORT PolicyValue {
        enum Value : int {
            USE_IF_REQUIRED = 0,
            NEVER_USE = 1,
            ALWAYS_USE = 2,
            USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN = 3,
            USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH = 4,
            USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE = 5,
        };
        /// The value's name, or its decimal number.
        static std::string atString(Value value);
    };

private:
    static const std::shared_ptr<EdgePolicy>& shared(PolicyValue::Value value);

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::EDGE_USAGE;

    inline static const std::shared_ptr<EdgePolicy>& USE_EDGE_IF_REQUIRED_POLICY =
        shared(PolicyValue::USE_IF_REQUIRED);
    inline static const std::shared_ptr<EdgePolicy>& NEVER_USE_EDGE_POLICY = shared(PolicyValue::NEVER_USE);
    inline static const std::shared_ptr<EdgePolicy>& ALWAYS_USE_EDGE_POLICY = shared(PolicyValue::ALWAYS_USE);
    inline static const std::shared_ptr<EdgePolicy>&
        USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN_POLICY =
            shared(PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_REQUEST_OAUTH_TOKEN);
    inline static const std::shared_ptr<EdgePolicy>&
        USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH_POLICY =
            shared(PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_X_EDGE_AUTH);
    inline static const std::shared_ptr<EdgePolicy>&
        USE_EDGE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE_POLICY =
            shared(PolicyValue::USE_IF_REQUIRED_AUTHENTICATE_WITH_EDGE_TOKEN_AND_LUMEN_COOKIE);

    explicit EdgePolicy(PolicyValue::Value value);
    ~EdgePolicy() override;

    bool equals(const Policy& other) const override;
    std::string getName() const override;
    /// Whether a road exists that the policy allows. Any policy but NEVER_USE waits up to a second for an
    /// edge layer that is just being started; without one it is not enforceable.
    bool verifyEnforceability() const override;

    PolicyValue::Value getValue() const { return value_; }

    /// Has the request transformed if it must go through the edge. A request that has been transformed
    /// already is left alone. A failure of the transformation is kept in the request data. A null transformer
    /// counts as an edge layer that isn't there; null request data can't be transformed.
    PolicyEnforcingResult::EnforcingResult enforce(const std::shared_ptr<HttpRequestData>& requestData,
                                                   const std::shared_ptr<EdgeTransformer>& transformer) const;
    /// Undoes the rewriting of cookies in the response to a request that went through the edge.
    PolicyEnforcingResult::EnforcingResult enforce(Response& response, const std::string& url,
                                                   const std::shared_ptr<EdgeTransformer>& transformer) const;

private:
    bool mayGoDirectly() const;

    const PolicyValue::Value value_;
};

/// The value's name, or its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, EdgePolicy::PolicyValue::Value value);

}  // namespace zeb::http

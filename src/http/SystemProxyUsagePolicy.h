#pragma once

#include "common/InputIndependentPolicy.h"

namespace zeb::http {

class Proxy;

/// Whether a request may go through the proxy that the system names for it.
class ZEBNETUTILS_EXPORT SystemProxyUsagePolicy : public common::InputIndependentPolicy {
public:
    struct ZEBNETUTILS_EXPORT PolicyValue {
        enum Value : int { USE_SYSTEM_PROXY_WHEN_REQUESTED = 0, NEVER_USE_SYSTEM_PROXY = 1 };
        /// The value's name, or its decimal number.
        static std::string atString(Value value);
    };

private:
    static const std::shared_ptr<SystemProxyUsagePolicy>& shared(PolicyValue::Value value);

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::SYSTEM_PROXY_USAGE;

    inline static const std::shared_ptr<SystemProxyUsagePolicy>& USE_SYSTEM_PROXY_WHEN_REQUESTED_POLICY =
        shared(PolicyValue::USE_SYSTEM_PROXY_WHEN_REQUESTED);
    inline static const std::shared_ptr<SystemProxyUsagePolicy>& NEVER_USE_SYSTEM_PROXY_POLICY =
        shared(PolicyValue::NEVER_USE_SYSTEM_PROXY);

    explicit SystemProxyUsagePolicy(PolicyValue::Value value);

    bool equals(const Policy& other) const override;
    std::string getName() const override;
    ~SystemProxyUsagePolicy() override;
    /// Always true.
    bool verifyEnforceability() const override;

    PolicyValue::Value getValue() const { return value_; }

    /// Leaves the resolved proxy, or sets it to null where the system proxy is never to be used. An unknown
    /// value leaves it and answers ENFORCING_FAILURE.
    PolicyEnforcingResult::EnforcingResult enforce(std::shared_ptr<Proxy>& proxy) const;

private:
    const PolicyValue::Value value_;
};

/// As PolicyValue::atString.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            SystemProxyUsagePolicy::PolicyValue::Value value);

}  // namespace zeb::http

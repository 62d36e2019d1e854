#pragma once

#include "common/InputIndependentPolicy.h"

namespace zeb::ip {

/// Which IP families a connection may use.
class ZEBNETUTILS_EXPORT IpFamilyPreferencePolicy : public common::InputIndependentPolicy {
public:
    struct ZEBNETUTILS_EXPORT PolicyValue {
        enum Value : int { IPV4_ONLY = 0, IPV6_ONLY = 1, DUAL_STACK = 2 };
        /// The value's name, or its decimal number.
        static std::string atString(Value value);
        /// The same.
        static std::string toString(Value value) { return atString(value); }
    };

private:
    static const std::shared_ptr<IpFamilyPreferencePolicy>& shared(PolicyValue::Value value);

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::IP_FAMILY_PREFERENCE;

    inline static const std::shared_ptr<IpFamilyPreferencePolicy>& IPV4_ONLY_POLICY =
        shared(PolicyValue::IPV4_ONLY);
    inline static const std::shared_ptr<IpFamilyPreferencePolicy>& IPV6_ONLY_POLICY =
        shared(PolicyValue::IPV6_ONLY);
    inline static const std::shared_ptr<IpFamilyPreferencePolicy>& DUAL_STACK_POLICY =
        shared(PolicyValue::DUAL_STACK);

    explicit IpFamilyPreferencePolicy(PolicyValue::Value value);

    bool equals(const Policy& other) const override;
    std::string getName() const override;
    ~IpFamilyPreferencePolicy() override;
    /// Always true.
    bool verifyEnforceability() const override;

    PolicyValue::Value getValue() const { return value_; }

    /// Sets the families that the easy handle may resolve to. ENFORCING_FAILURE when libcurl refuses, for a
    /// null handle, and, without a call of libcurl, for an unknown value. The handle belongs to the caller,
    /// and to the calling thread meanwhile.
    PolicyEnforcingResult::EnforcingResult enforce(void* curlHandle) const;

private:
    const PolicyValue::Value value_;
};

/// As PolicyValue::atString.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            IpFamilyPreferencePolicy::PolicyValue::Value value);

}  // namespace zeb::ip

#pragma once

#include "common/InputIndependentPolicy.h"

namespace zeb::http {

/// Whether a TLS connection is held to the Common Criteria's choice: TLS 1.2 at least and forward secrecy
/// with GCM or SHA-2 only.
class ZEBNETUTILS_EXPORT CommonCriteriaUsagePolicy : public common::InputIndependentPolicy {
public:
    struct ZEBNETUTILS_EXPORT PolicyValue {
        enum Value : int { DISABLE_COMMON_CRITERIA_POLICY = 0, ENABLE_COMMON_CRITERIA_POLICY = 1 };
        /// The value's name, or its decimal number.
        static std::string atString(Value value);
    };

private:
    static const std::shared_ptr<CommonCriteriaUsagePolicy>& shared(PolicyValue::Value value);

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::COMMON_CRITERIA_USAGE;

    inline static const std::shared_ptr<CommonCriteriaUsagePolicy>& COMMON_CRITERIA_DISABLED_POLICY =
        shared(PolicyValue::DISABLE_COMMON_CRITERIA_POLICY);
    inline static const std::shared_ptr<CommonCriteriaUsagePolicy>& COMMON_CRITERIA_ENABLED_POLICY =
        shared(PolicyValue::ENABLE_COMMON_CRITERIA_POLICY);

    // Cipher lists in OpenSSL's form: what is set without Common Criteria, what with it, and everything.
    static const char* const cipherSuitsDefault;
    static const char* const cipherSuitsLimitation;
    static const char* const cipherSuitsAll;

    explicit CommonCriteriaUsagePolicy(PolicyValue::Value value);

    bool equals(const Policy& other) const override;
    std::string getName() const override;
    ~CommonCriteriaUsagePolicy() override;
    /// Always true.
    bool verifyEnforceability() const override;

    PolicyValue::Value getValue() const { return value_; }
    bool isCommonCriteriaEnabled() const;

    /// cipherSuitsLimitation when enabled, else cipherSuitsAll: deliberately not the list that enforce()
    /// sets.
    std::string getCipherSuits() const;

    /// Sets the lowest TLS version and then the cipher list of the easy handle. ENFORCING_FAILURE at the
    /// first that libcurl refuses, for a null handle and for an unknown value. The handle belongs to the
    /// caller, and to the calling thread meanwhile.
    PolicyEnforcingResult::EnforcingResult enforce(void* easyHandle) const;

private:
    const PolicyValue::Value value_;
};

/// As PolicyValue::atString.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            CommonCriteriaUsagePolicy::PolicyValue::Value value);

}  // namespace zeb::http

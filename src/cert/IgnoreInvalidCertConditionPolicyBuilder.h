#pragma once

#include "cert/IgnoreInvalidCertConditionPolicy.h"

namespace zeb::cert {

/// Makes policies that ignore the conditions asked for. Belongs to one thread.
class ZEBNETUTILS_EXPORT IgnoreInvalidCertConditionPolicyBuilder {
public:
    /// For a policy with an empty name.
    IgnoreInvalidCertConditionPolicyBuilder();
    explicit IgnoreInvalidCertConditionPolicyBuilder(std::string name);

    IgnoreInvalidCertConditionPolicyBuilder& ignoreRevocationNotPerformed();   ///< NO_REVOCATION_CHECK
    IgnoreInvalidCertConditionPolicyBuilder& ignoreRevocationServerOffline();  ///< REVOCATION_OFFLINE
    IgnoreInvalidCertConditionPolicyBuilder& ignoreRevocationStatusUnknown();  ///< REVOCATION_STATUS_UNKNOWN
    IgnoreInvalidCertConditionPolicyBuilder& ignoreWrongKeyUsage();            ///< WRONG_USAGE
    IgnoreInvalidCertConditionPolicyBuilder& ignoreWeakKey();                  ///< WEAK_KEY

    std::shared_ptr<IgnoreInvalidCertConditionPolicy> build() const;

private:
    std::string name_;
    IgnoreInvalidCertConditionPolicy::Conditions ignored_;
};

}  // namespace zeb::cert

#include "cert/IgnoreInvalidCertConditionPolicyBuilder.h"

#include <utility>

namespace zeb::cert {

IgnoreInvalidCertConditionPolicyBuilder::IgnoreInvalidCertConditionPolicyBuilder() = default;

IgnoreInvalidCertConditionPolicyBuilder::IgnoreInvalidCertConditionPolicyBuilder(std::string name)
    : name_(std::move(name)) {}

IgnoreInvalidCertConditionPolicyBuilder&
IgnoreInvalidCertConditionPolicyBuilder::ignoreRevocationNotPerformed() {
    ignored_.revocationNotPerformed = true;
    return *this;
}

IgnoreInvalidCertConditionPolicyBuilder&
IgnoreInvalidCertConditionPolicyBuilder::ignoreRevocationServerOffline() {
    ignored_.revocationServerOffline = true;
    return *this;
}

IgnoreInvalidCertConditionPolicyBuilder&
IgnoreInvalidCertConditionPolicyBuilder::ignoreRevocationStatusUnknown() {
    ignored_.revocationStatusUnknown = true;
    return *this;
}

IgnoreInvalidCertConditionPolicyBuilder& IgnoreInvalidCertConditionPolicyBuilder::ignoreWrongKeyUsage() {
    ignored_.wrongKeyUsage = true;
    return *this;
}

IgnoreInvalidCertConditionPolicyBuilder& IgnoreInvalidCertConditionPolicyBuilder::ignoreWeakKey() {
    ignored_.weakKey = true;
    return *this;
}

std::shared_ptr<IgnoreInvalidCertConditionPolicy> IgnoreInvalidCertConditionPolicyBuilder::build() const {
    // Not make_shared: only the builder may construct one, so that each is owned by a shared pointer.
    return std::shared_ptr<IgnoreInvalidCertConditionPolicy>(
        new IgnoreInvalidCertConditionPolicy(ignored_, name_));
}

}  // namespace zeb::cert

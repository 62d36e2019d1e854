#pragma once

#include "core/Export.h"

#include <iosfwd>
#include <memory>
#include <string>
#include <typeinfo>

namespace zeb::common {

/// One statement about one concern of a client or verifier, its nature. Objects that obey policies hold at
/// most one per nature (PolicySet, PolicyDriven).
///
/// A policy never changes after its construction, so any thread may use it. Concrete policies are used
/// through their public shared constants (`..._POLICY`), not constructed by clients. The constants are there
/// for every static object of a translation unit that includes the policy's header, and are never destroyed:
/// a thread that is still running while the process ends finds them intact.
class ZEBNETUTILS_EXPORT Policy {
    static const std::shared_ptr<Policy>& unknownPolicy();

public:
    struct PolicyNature {
        enum Nature : int {
            EDGE_USAGE = 0,
            FAILURE_MANAGEMENT = 1,
            INVALID_CERT_MANAGEMENT = 2,
            IGNORE_INVALID_CERT_CONDITION = 3,
            EDGE_CAPABILITY = 4,
            PERSIST_INVALID_CERT_DECISION = 5,
            IP_FAMILY_PREFERENCE = 6,
            SYSTEM_PROXY_USAGE = 7,
            COMMON_CRITERIA_USAGE = 8,
            UNKNOWN = 9,
        };
    };

    /// Whether the owner's failure policy may treat a failure of this policy as harmless: SOFT is what
    /// FailureManagementPolicy::IGNORE_SOFT_FAILURE_POLICY, the default, lets pass.
    struct PolicyFailureClass {
        enum FailureClass : int { HARD = 0, SOFT = 1 };
    };

    /// What the `enforce` of a concrete policy answers.
    struct PolicyEnforcingResult {
        enum EnforcingResult : int { SUCCESS = 0, NOT_ENFORCEABLE = 1, ENFORCING_FAILURE = 2 };
    };

    /// A concrete policy of a lookup's result; null when it is none, or null. Of the very type, which nearly
    /// all are, without the cost of a dynamic cast.
    template <typename Concrete, typename Base>
    static Concrete* as(Base* policy) {
        return policy != nullptr && typeid(*policy) == typeid(Concrete) ? static_cast<Concrete*>(policy)
                                                                        : dynamic_cast<Concrete*>(policy);
    }

    /// What a lookup returns in place of null: nature UNKNOWN, name "UNKNOWN".
    inline static const std::shared_ptr<Policy>& UNKNOWN_POLICY = unknownPolicy();

    Policy(PolicyNature::Nature nature, PolicyFailureClass::FailureClass failureClass, bool inputIndependent);
    /// Failure class HARD.
    Policy(PolicyNature::Nature nature, bool inputIndependent);
    Policy(const Policy&) = delete;
    Policy& operator=(const Policy&) = delete;

    /// Same nature, same failure class, same input independence. A concrete policy compares its value, too.
    virtual bool equals(const Policy& other) const;
    /// The text of a concrete policy's value; "UNKNOWN" for a plain policy.
    virtual std::string getName() const;
    virtual ~Policy();

    PolicyNature::Nature getNature() const { return nature_; }
    PolicyFailureClass::FailureClass getFailureClass() const { return failureClass_; }
    /// True when the policy can be judged enforceable without the data of a particular operation.
    bool isInputIndependent() const { return inputIndependent_; }

private:
    const PolicyNature::Nature nature_;
    const PolicyFailureClass::FailureClass failureClass_;
    const bool inputIndependent_;
};

/// The enumerator's name, or the number where there is none. COMMON_CRITERIA_USAGE prints as "8".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, Policy::PolicyNature::Nature nature);
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            Policy::PolicyEnforcingResult::EnforcingResult result);

}  // namespace zeb::common

#pragma once

#include "cert/common/CertStatus.h"
#include "common/Policy.h"
#include "core/Export.h"

#include <memory>
#include <ostream>
#include <set>
#include <string>

namespace zeb::cert {

class CertificateData;

/// What becomes of a certificate that failed: it is refused or passed without a word, or (see
/// UserInteractingInvalidCertManagementPolicy) the user has a say. A revoked certificate is never passed.
class ZEBNETUTILS_EXPORT InvalidCertManagementPolicy : public common::Policy {
public:
    struct ZEBNETUTILS_EXPORT PolicyValue {
        enum Value : int {
            SILENTLY_FAIL = 0,
            SILENTLY_SUCCEED = 1,
            PROMPT_USER = 2,
            NOTIFY_USER_AND_SUCCEED = 3,
            NOTIFY_USER_AND_FAIL = 4,
        };
        /// The value's name, or its decimal number.
        static std::string atString(Value value);
    };

private:
    static const std::shared_ptr<InvalidCertManagementPolicy>& shared(PolicyValue::Value value);

public:
    static constexpr PolicyNature::Nature NATURE = PolicyNature::INVALID_CERT_MANAGEMENT;

    // Both of class SOFT.
    inline static const std::shared_ptr<InvalidCertManagementPolicy>& SILENTLY_FAIL_POLICY =
        shared(PolicyValue::SILENTLY_FAIL);
    inline static const std::shared_ptr<InvalidCertManagementPolicy>& SILENTLY_SUCCEED_POLICY =
        shared(PolicyValue::SILENTLY_SUCCEED);

    /// One that doesn't interact with the user.
    InvalidCertManagementPolicy(PolicyValue::Value value, PolicyFailureClass::FailureClass failureClass);
    InvalidCertManagementPolicy(PolicyValue::Value value, bool interactsWithUser,
                                PolicyFailureClass::FailureClass failureClass);

    bool equals(const Policy& other) const override;
    std::string getName() const override;
    ~InvalidCertManagementPolicy() override;

    /// The verdict is left in the statuses: {VALID} for a certificate that is to pass, else untouched.
    /// SUCCESS only says that the policy ran.
    virtual PolicyEnforcingResult::EnforcingResult enforce(
        std::set<CertStatus::Status>& statuses, const std::shared_ptr<CertificateData>& data) const;
    /// True for the two silent values.
    virtual bool verifyEnforceability(const std::set<CertStatus::Status>& statuses,
                                      const std::shared_ptr<CertificateData>& data) const;

    PolicyValue::Value getValue() const { return value_; }
    bool interactsWithUser() const { return interactsWithUser_; }

protected:
    /// Whether the certificate is revoked, which no policy can make good. Says so in the log.
    static bool holdsRevoked(const std::set<CertStatus::Status>& statuses);
    void logUnmanaged() const;

private:
    const PolicyValue::Value value_;
    const bool interactsWithUser_;
};

/// Deliberately not atString, as readers of the logs match it: SILENTLY_SUCCEED prints as "1", and
/// NOTIFY_USER_AND_SUCCEED as "NOTIFY_USER_AND_SUCCEEDE".
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream,
                                            InvalidCertManagementPolicy::PolicyValue::Value value);
/// Prints the value.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const InvalidCertManagementPolicy& policy);

}  // namespace zeb::cert

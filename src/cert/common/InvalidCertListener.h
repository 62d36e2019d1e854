#pragma once

#include "cert/common/CertStatus.h"
#include "core/Export.h"

#include <set>
#include <string>
#include <vector>

namespace zeb::cert {

struct InvalidCertInfo;

/// Implemented by the host: shows users the certificates that failed, and asks them. Registered with
/// InvalidCertNotificationManager, which tells the protocol.
///
/// Called on the verifying thread with no lock of the library held, several threads at once for several
/// certificates. One that blocks holds up its own connection only; one that connects to the same server
/// within the call waits for itself. What it throws ends its request as a policy that couldn't be enforced.
class ZEBNETUTILS_EXPORT InvalidCertListener {
public:
    virtual ~InvalidCertListener();

    /// A question when info.userCanDecide: the host answers the manager once, within this call or later from
    /// any thread, and the connection waits for it without limit. Otherwise a warning, which wants no answer.
    virtual void prompUserForAction(const InvalidCertInfo& info) = 0;

    /// A certificate has been refused for good. Wants no answer.
    virtual void reportRejectedCert(const std::string& fingerprint, const std::string& commonName,
                                    const std::string& identifierToDisplay,
                                    const std::set<CertStatus::Status>& statuses, const std::string& leafPem,
                                    const std::vector<std::string>& chainPem) = 0;
};

}  // namespace zeb::cert

#pragma once

#include "core/Export.h"

#include <ostream>
#include <string>

namespace zeb::cert {

/// Whether a certificate belongs to the server that was meant, and by which of the identifiers it was found
/// to.
class ZEBNETUTILS_EXPORT CertIdentifierStatus {
public:
    enum Status : int {
        SUCCESS = 0,
        INTERNAL_ERROR = 1,
        NO_MATCH_FOUND = 2,
        NO_IDENTITY_INFO_IN_CERT = 3,  ///< the certificate names nobody
    };

    /// No match: a match must be found, never assumed.
    CertIdentifierStatus();
    explicit CertIdentifierStatus(Status status, std::string matchedIdentifier = "");

    Status getStatus() const;
    void setStatus(Status status);

    /// The reference identifier that matched; empty when none did.
    const std::string& getMatchedIdentifier() const;
    void setMatchedIdentifier(const std::string& matchedIdentifier);

private:
    Status status_ = NO_MATCH_FOUND;
    std::string matchedIdentifier_;
};

/// Prints the enumerator's name; any other value prints as its number.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, CertIdentifierStatus::Status status);

/// "result : <status> , matched ID : <identifier>]". The identifier in the clear: for a log, put
/// ZEBLogger_replacePIIData() of it in its place first.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const CertIdentifierStatus& status);

}  // namespace zeb::cert

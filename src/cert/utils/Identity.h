#pragma once

#include "core/Export.h"

#include <string>
#include <vector>

namespace zeb::cert {

/// Which server a client meant to reach: the reference identifiers of RFC 6125, of which a certificate must
/// match one; perhaps one more that it must match in any case; perhaps the name that the handshake asked for
/// (SNI, RFC 6066). IdentityBuilder makes it. A value; nothing but the matched identifier ever changes, which
/// the thread that verifies sets.
class ZEBNETUTILS_EXPORT Identity {
public:
    Identity(std::vector<std::string> referenceIdentifiers, std::string identifierToDisplay);
    /// With a mandatory identifier.
    Identity(std::vector<std::string> referenceIdentifiers, std::string mandatoryReferenceIdentifier,
             std::string identifierToDisplay);
    /// With a mandatory identifier and one for SNI.
    Identity(std::vector<std::string> referenceIdentifiers, std::string mandatoryReferenceIdentifier,
             std::string identifierToDisplay, std::string referenceIdentifierForSNI);

    /// A reference identifier that is more than white space, and each of the others that is there at all not
    /// empty.
    bool isValid() const;

    bool hasValidReferenceIdentifiers() const;
    /// Without the white space at their ends; those that are nothing else are left out.
    std::vector<std::string> getNonEmptyReferenceIdentifiers() const;
    bool hasValidMandatoryReferenceIdentifier() const;
    bool hasValidReferenceIdentifierForSNI() const;
    const std::string& getMandatoryReferenceIdentifier() const;
    const std::string& getReferenceIdentifierForSNI() const;

    /// How a user knows the server: the identifier given for that, or else the matched one.
    std::string getIdentifierToDisplay() const;
    /// What setMatchedReferenceIdentifier() was given; before that the best guess: the identifier for SNI,
    /// the mandatory one, the first reference identifier, "".
    std::string getMatchedReferenceIdentifier() const;
    void setMatchedReferenceIdentifier(std::string matchedReferenceIdentifier) const;

    /// Each part that is not empty, joined by "; ". In the clear: not for a log.
    std::string toString() const;

private:
    std::vector<std::string> referenceIdentifiers_;
    bool hasMandatory_ = false;
    std::string mandatoryReferenceIdentifier_;
    std::string identifierToDisplay_;
    mutable std::string matchedReferenceIdentifier_;
    bool hasReferenceForSNI_ = false;
    std::string referenceIdentifierForSNI_;
};

}  // namespace zeb::cert

#pragma once

#include "cert/utils/Identity.h"
#include "core/Export.h"

#include <string>
#include <vector>

namespace zeb::cert {

/// Collects what an Identity is made of:
///
///     IdentityBuilder().referenceIdentifier("www.example.com").identifierToDisplay("Example").build()
class ZEBNETUTILS_EXPORT IdentityBuilder {
public:
    IdentityBuilder();

    /// In place of all there are so far.
    IdentityBuilder& referenceIdentifiers(const std::vector<std::string>& identifiers);
    /// One more.
    IdentityBuilder& referenceIdentifier(const std::string& identifier);
    IdentityBuilder& mandatoryReferenceIdentifier(const std::string& identifier);
    IdentityBuilder& identifierToDisplay(const std::string& identifier);
    /// Demands a mandatory identifier, too: without one the identity is not valid.
    IdentityBuilder& referenceIdentifierForSNI(const std::string& identifier);

    Identity build() const;

private:
    std::vector<std::string> referenceIdentifiers_;
    bool hasMandatory_ = false;
    std::string mandatoryReferenceIdentifier_;
    std::string identifierToDisplay_;
    bool hasReferenceForSNI_ = false;
    std::string referenceIdentifierForSNI_;
};

}  // namespace zeb::cert

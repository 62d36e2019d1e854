#include "cert/utils/IdentityBuilder.h"

namespace zeb::cert {

IdentityBuilder::IdentityBuilder() = default;

IdentityBuilder& IdentityBuilder::referenceIdentifiers(const std::vector<std::string>& identifiers) {
    referenceIdentifiers_ = identifiers;
    return *this;
}

IdentityBuilder& IdentityBuilder::referenceIdentifier(const std::string& identifier) {
    referenceIdentifiers_.push_back(identifier);
    return *this;
}

IdentityBuilder& IdentityBuilder::mandatoryReferenceIdentifier(const std::string& identifier) {
    mandatoryReferenceIdentifier_ = identifier;
    hasMandatory_ = true;
    return *this;
}

IdentityBuilder& IdentityBuilder::identifierToDisplay(const std::string& identifier) {
    identifierToDisplay_ = identifier;
    return *this;
}

IdentityBuilder& IdentityBuilder::referenceIdentifierForSNI(const std::string& identifier) {
    referenceIdentifierForSNI_ = identifier;
    hasReferenceForSNI_ = true;
    return *this;
}

Identity IdentityBuilder::build() const {
    if (hasReferenceForSNI_) {
        return {referenceIdentifiers_, mandatoryReferenceIdentifier_, identifierToDisplay_,
                referenceIdentifierForSNI_};
    }
    if (hasMandatory_) {
        return {referenceIdentifiers_, mandatoryReferenceIdentifier_, identifierToDisplay_};
    }
    return {referenceIdentifiers_, identifierToDisplay_};
}

}  // namespace zeb::cert

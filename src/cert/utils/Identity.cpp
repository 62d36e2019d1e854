#include "cert/utils/Identity.h"

#include "common/StringUtils.h"
#include "core/Log.h"

#include <sstream>
#include <utility>

namespace zeb::cert {

namespace {

class Parts {
public:
    void add(const char* name, const std::string& value) {
        if (!value.empty()) {
            begin(name) << "'" << value << "'";
        }
    }

    /// The name ends with the bracket that opens.
    void add(const char* name, const std::vector<std::string>& values) {
        if (values.empty()) {
            return;
        }
        begin(name);
        const char* separator = "";
        for (const std::string& value : values) {
            stream_ << separator << "'" << value << "'";
            separator = ", ";
        }
        stream_ << "]";
    }

    std::string text() const { return stream_.str(); }

private:
    std::ostream& begin(const char* name) {
        stream_ << separator_ << name;
        separator_ = "; ";
        return stream_;
    }

    std::ostringstream stream_;
    const char* separator_ = "";
};

}  // namespace

Identity::Identity(std::vector<std::string> referenceIdentifiers, std::string identifierToDisplay)
    : referenceIdentifiers_(std::move(referenceIdentifiers)),
      identifierToDisplay_(std::move(identifierToDisplay)) {}

Identity::Identity(std::vector<std::string> referenceIdentifiers, std::string mandatoryReferenceIdentifier,
                   std::string identifierToDisplay)
    : referenceIdentifiers_(std::move(referenceIdentifiers)),
      hasMandatory_(true),
      mandatoryReferenceIdentifier_(std::move(mandatoryReferenceIdentifier)),
      identifierToDisplay_(std::move(identifierToDisplay)) {}

Identity::Identity(std::vector<std::string> referenceIdentifiers, std::string mandatoryReferenceIdentifier,
                   std::string identifierToDisplay, std::string referenceIdentifierForSNI)
    : referenceIdentifiers_(std::move(referenceIdentifiers)),
      hasMandatory_(true),
      mandatoryReferenceIdentifier_(std::move(mandatoryReferenceIdentifier)),
      identifierToDisplay_(std::move(identifierToDisplay)),
      hasReferenceForSNI_(true),
      referenceIdentifierForSNI_(std::move(referenceIdentifierForSNI)) {}

bool Identity::isValid() const {
    if (!hasValidReferenceIdentifiers()) {
        ZEB_LOG_DEBUG(log::cert(), "No valid reference identifier stored. The identity is invalid");
        return false;
    }
    if (hasMandatory_ && mandatoryReferenceIdentifier_.empty()) {
        ZEB_LOG_DEBUG(log::cert(), "Empty mandatory reference identifier stored. The identity is invalid");
        return false;
    }
    if (hasReferenceForSNI_ && referenceIdentifierForSNI_.empty()) {
        ZEB_LOG_DEBUG(log::cert(),
                      "Empty mandatory reference identifier stored for SNI. The identity is invalid");
        return false;
    }
    return true;
}

bool Identity::hasValidReferenceIdentifiers() const {
    return !getNonEmptyReferenceIdentifiers().empty();
}

std::vector<std::string> Identity::getNonEmptyReferenceIdentifiers() const {
    std::vector<std::string> identifiers;
    for (const std::string& identifier : referenceIdentifiers_) {
        std::string trimmed = common::StringUtils::trim(identifier);
        if (!trimmed.empty()) {
            identifiers.push_back(std::move(trimmed));
        }
    }
    return identifiers;
}

bool Identity::hasValidMandatoryReferenceIdentifier() const {
    return !mandatoryReferenceIdentifier_.empty();
}

bool Identity::hasValidReferenceIdentifierForSNI() const {
    return !referenceIdentifierForSNI_.empty();
}

const std::string& Identity::getMandatoryReferenceIdentifier() const {
    return mandatoryReferenceIdentifier_;
}

const std::string& Identity::getReferenceIdentifierForSNI() const {
    return referenceIdentifierForSNI_;
}

std::string Identity::getIdentifierToDisplay() const {
    return identifierToDisplay_.empty() ? getMatchedReferenceIdentifier() : identifierToDisplay_;
}

std::string Identity::getMatchedReferenceIdentifier() const {
    if (!matchedReferenceIdentifier_.empty()) {
        return matchedReferenceIdentifier_;
    }
    if (hasValidReferenceIdentifierForSNI()) {
        return referenceIdentifierForSNI_;
    }
    if (hasValidMandatoryReferenceIdentifier()) {
        return mandatoryReferenceIdentifier_;
    }
    const std::vector<std::string> identifiers = getNonEmptyReferenceIdentifiers();
    return identifiers.empty() ? std::string() : identifiers.front();
}

void Identity::setMatchedReferenceIdentifier(std::string matchedReferenceIdentifier) const {
    matchedReferenceIdentifier_ = std::move(matchedReferenceIdentifier);
}

std::string Identity::toString() const {
    Parts parts;
    parts.add("Mandatory reference identifier for SNI: ", referenceIdentifierForSNI_);
    parts.add("Mandatory reference identifier: ", mandatoryReferenceIdentifier_);
    parts.add("Reference identifiers: [", referenceIdentifiers_);
    parts.add("Identifier to display: ", identifierToDisplay_);
    parts.add("Matched reference Identifier: ", matchedReferenceIdentifier_);
    return parts.text();
}

}  // namespace zeb::cert

#pragma once

#include "core/Export.h"
#include "http/IdentityMatchModel.h"

#include <memory>
#include <string>
#include <vector>

namespace zeb::http {

class CertVerifier;

/// What the TLS handshake of a request needs to judge the server's certificate.
struct ZEBNETUTILS_EXPORT SSLData {
    std::string identifierToDisplay;
    std::string serverCurlFQDN;  ///< the host that is really asked
    std::string sniServerName;   ///< the name that stands in the URL in its place; usually empty
    std::vector<std::string> referenceIdentifiers;
    IdentityMatchModel::Model identityMatchModel = IdentityMatchModel::SOFT_MATCH;
    std::shared_ptr<CertVerifier> certVerifier;  ///< null refuses every certificate
    bool identifierToDisplayDefaulted = false;   ///< derived from the URL, not given by the caller
    bool referenceIdentifiersDefaulted = false;

    /// Clears the name and its flag.
    void resetIdentifierToDisplay();
    /// Clears the list, its flag and serverCurlFQDN.
    void resetReferenceIdentifiers();
    /// Clears serverCurlFQDN alone.
    void resetServerCurlFQDN();
};

}  // namespace zeb::http

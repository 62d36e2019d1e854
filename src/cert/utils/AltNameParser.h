#pragma once

#include "cert/common/CertIdentifierStatus.h"
#include "core/Export.h"

#include <string>
#include <vector>

struct x509_st;

namespace zeb::cert {

/// Reads the names of the server that a certificate was issued for, and compares them with the name that was
/// meant (RFC 6125; for XMPP also RFC 6120, 13.7.1.2). Answers for one identifier at a time. Belongs to one
/// verification, on one thread.
class ZEBNETUTILS_EXPORT AltNameParser {
public:
    /// Reads the certificate, which it doesn't keep. SUCCESS when it names anybody, else
    /// NO_IDENTITY_INFO_IN_CERT; INTERNAL_ERROR for a null pointer. What is damaged is left out.
    virtual CertIdentifierStatus::Status parse(const x509_st* cert) = 0;

    /// Whether the certificate is for the XMPP service of that domain: SUCCESS or NO_MATCH_FOUND.
    virtual CertIdentifierStatus::Status verifyXmpp(const std::string& identifier) const = 0;
    /// Whether the certificate is for the host of that name: SUCCESS or NO_MATCH_FOUND.
    virtual CertIdentifierStatus::Status verify(const std::string& identifier) const = 0;

    /// The names of the subject alternative name extension, each kind in the order of the certificate.
    virtual std::vector<std::string> getDnsNames() = 0;
    virtual std::vector<std::string> getSrvNames() = 0;
    virtual std::vector<std::string> getXmppAddresses() = 0;
    /// The first common name of the subject; empty when there is none.
    virtual std::string getCommonName() = 0;

    virtual ~AltNameParser();
};

}  // namespace zeb::cert

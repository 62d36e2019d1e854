#pragma once

#include "cert/utils/AltNameParser.h"

struct GENERAL_NAME_st;
struct x509_st;

namespace zeb::cert {

/// Compares without regard to case (of ASCII letters) and without any other normalisation: a trailing dot or
/// the other form of an internationalised name is another name. An empty identifier matches nothing.
///
/// A name is kept only when it has no NUL in it.
class ZEBNETUTILS_EXPORT AltNameParserImpl : public AltNameParser {
public:
    AltNameParserImpl();
    /// In Common Criteria mode no wildcard in a certificate matches any name but itself.
    explicit AltNameParserImpl(bool ccMode);
    /// With these names instead of a certificate's, for tests.
    AltNameParserImpl(std::vector<std::string> dnsNames, std::vector<std::string> srvNames,
                      std::vector<std::string> xmppAddrs, std::string commonName);

    /// What an earlier certificate had is forgotten.
    CertIdentifierStatus::Status parse(const x509_st* cert) override;
    /// First the XMPP addresses, then the SRV names of the service "_xmpp-server", then as verify().
    CertIdentifierStatus::Status verifyXmpp(const std::string& identifier) const override;
    /// The common name serves only when there is no DNS name. "*." at the beginning of a name stands for
    /// exactly one label, unless an IP address follows.
    CertIdentifierStatus::Status verify(const std::string& identifier) const override;
    std::vector<std::string> getDnsNames() override;
    std::vector<std::string> getSrvNames() override;
    std::vector<std::string> getXmppAddresses() override;
    std::string getCommonName() override;

private:
    void parseSubjectCNField(const x509_st* cert);
    void parseSubjectAltName(const x509_st* cert);
    void parseGeneralName(const GENERAL_NAME_st& name);
    void parseDNSField(const GENERAL_NAME_st& name);
    void parseOtherNameField(const GENERAL_NAME_st& name);
    CertIdentifierStatus::Status checkIdentityInfoIsAvailable() const;

    CertIdentifierStatus::Status verifyCommonName(const std::string& identifier) const;
    CertIdentifierStatus::Status verifyDnsNames(const std::string& identifier) const;
    bool matchesWildcard(const std::string& identifier, const std::string& name) const;
    static CertIdentifierStatus::Status checkReferenceIdentifierMatchesWildcardName(
        const std::string& reference, const std::string& name);

    std::vector<std::string> dnsNames_;
    std::vector<std::string> srvNames_;
    std::vector<std::string> xmppAddrs_;
    std::string commonName_;
    bool ccMode_ = false;
};

}  // namespace zeb::cert

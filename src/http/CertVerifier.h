#pragma once

#include "core/Export.h"

#include <string>
#include <vector>

struct x509_st;
struct x509_store_ctx_st;

namespace zeb::http {

/// The HTTP clients' view of certificate verification: may the connection to this server go on? Called within
/// the TLS handshake, on the thread that transfers, which it may block while a user is asked. Several
/// handshakes may call at once.
///
/// Each operation returns true for a trusted certificate. `identifier` is a name that the certificate must
/// carry, the reference identifiers are names of which one will do, `sniName` is the name that was asked for
/// in the handshake (RFC 6066), `identifierToDisplay` is how a user knows the server.
class ZEBNETUTILS_EXPORT CertVerifier {
public:
    using Names = std::vector<std::string>;

    virtual ~CertVerifier();

    virtual bool verifyCertificate(const x509_st* certificate, const std::string& identifier) = 0;
    virtual bool verifyCertificate(const x509_st* certificate, const std::string& identifier,
                                   const std::string& identifierToDisplay) = 0;
    virtual bool verifyCertificate(const x509_st* certificate, const Names& referenceIdentifiers) = 0;
    virtual bool verifyCertificate(const x509_st* certificate, const std::string& identifier,
                                   const Names& referenceIdentifiers) = 0;
    virtual bool verifyCertificate(const x509_st* certificate, const Names& referenceIdentifiers,
                                   const std::string& identifierToDisplay) = 0;
    virtual bool verifyCertificate(const x509_st* certificate, const std::string& identifier,
                                   const Names& referenceIdentifiers,
                                   const std::string& identifierToDisplay) = 0;
    virtual bool verifyCertificate(const x509_st* certificate, const std::string& sniName,
                                   const std::string& identifier, const Names& referenceIdentifiers) = 0;
    virtual bool verifyCertificate(const x509_st* certificate, const std::string& sniName,
                                   const std::string& identifier, const Names& referenceIdentifiers,
                                   const std::string& identifierToDisplay) = 0;

    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier) = 0;
    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                                   const std::string& identifierToDisplay) = 0;
    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const Names& referenceIdentifiers) = 0;
    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                                   const Names& referenceIdentifiers) = 0;
    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const Names& referenceIdentifiers,
                                   const std::string& identifierToDisplay) = 0;
    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                                   const Names& referenceIdentifiers,
                                   const std::string& identifierToDisplay) = 0;
    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& sniName,
                                   const std::string& identifier, const Names& referenceIdentifiers) = 0;
    virtual bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& sniName,
                                   const std::string& identifier, const Names& referenceIdentifiers,
                                   const std::string& identifierToDisplay) = 0;
};

}  // namespace zeb::http

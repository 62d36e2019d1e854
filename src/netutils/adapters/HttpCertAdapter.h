#pragma once

#include "core/Export.h"
#include "http/CertVerifier.h"

#include <memory>
#include <string>

namespace zeb::cert {
class CertVerifier;
struct CertResult;
}  // namespace zeb::cert

namespace zeb::netutils::adapters {

/// Lets the HTTP clients ask the certificate verifier. Each operation asks the one of the same arguments of
/// zeb::cert::CertVerifier, logs its result, and is true exactly for a SUCCESS. Any thread may call.
class ZEBNETUTILS_EXPORT HttpCertAdapter : public http::CertVerifier {
public:
    /// Without a verifier every certificate is refused.
    explicit HttpCertAdapter(std::shared_ptr<cert::CertVerifier> certVerifier);
    ~HttpCertAdapter() override;

    bool verifyCertificate(const x509_st* certificate, const std::string& identifier) override;
    bool verifyCertificate(const x509_st* certificate, const std::string& identifier,
                           const std::string& identifierToDisplay) override;
    bool verifyCertificate(const x509_st* certificate, const Names& referenceIdentifiers) override;
    bool verifyCertificate(const x509_st* certificate, const std::string& identifier,
                           const Names& referenceIdentifiers) override;
    bool verifyCertificate(const x509_st* certificate, const Names& referenceIdentifiers,
                           const std::string& identifierToDisplay) override;
    bool verifyCertificate(const x509_st* certificate, const std::string& identifier,
                           const Names& referenceIdentifiers,
                           const std::string& identifierToDisplay) override;
    bool verifyCertificate(const x509_st* certificate, const std::string& sniName,
                           const std::string& identifier, const Names& referenceIdentifiers) override;
    bool verifyCertificate(const x509_st* certificate, const std::string& sniName,
                           const std::string& identifier, const Names& referenceIdentifiers,
                           const std::string& identifierToDisplay) override;

    bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier) override;
    bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                           const std::string& identifierToDisplay) override;
    bool verifyCertificate(const x509_store_ctx_st* chain, const Names& referenceIdentifiers) override;
    bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                           const Names& referenceIdentifiers) override;
    bool verifyCertificate(const x509_store_ctx_st* chain, const Names& referenceIdentifiers,
                           const std::string& identifierToDisplay) override;
    bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                           const Names& referenceIdentifiers,
                           const std::string& identifierToDisplay) override;
    bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& sniName,
                           const std::string& identifier, const Names& referenceIdentifiers) override;
    bool verifyCertificate(const x509_store_ctx_st* chain, const std::string& sniName,
                           const std::string& identifier, const Names& referenceIdentifiers,
                           const std::string& identifierToDisplay) override;

private:
    template <typename... Arguments>
    bool ask(const char* text, const Arguments&... arguments);

    const std::shared_ptr<cert::CertVerifier> certVerifier_;
};

}  // namespace zeb::netutils::adapters

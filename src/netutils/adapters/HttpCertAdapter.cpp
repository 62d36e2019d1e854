#include "netutils/adapters/HttpCertAdapter.h"

#include "cert/common/CertResult.h"
#include "cert/common/CertVerifier.h"
#include "core/Log.h"

#include <utility>

namespace zeb::netutils::adapters {

namespace {

/// The first overload with a name to display, for a certificate, deliberately has a text of its own.
constexpr char MARKED_TEXT[] = "*-----* Certificate Verification Result: ";
constexpr char PLAIN_TEXT[] = "verifyCertificate- Verification Result: ";

}  // namespace

HttpCertAdapter::HttpCertAdapter(std::shared_ptr<cert::CertVerifier> certVerifier)
    : certVerifier_(std::move(certVerifier)) {}

HttpCertAdapter::~HttpCertAdapter() = default;

template <typename... Arguments>
bool HttpCertAdapter::ask(const char* text, const Arguments&... arguments) {
    if (certVerifier_ == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "No certificate verifier is available, rejecting the certificate");
        return false;
    }
    const cert::CertResult result = certVerifier_->verifyCertificate(arguments...);
    ZEB_LOG_INFO(log::httpClient(), text << result.loggable());
    return result.result == cert::CertResult::SUCCESS;
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const std::string& identifier) {
    return ask(MARKED_TEXT, certificate, identifier);
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const std::string& identifier,
                                        const std::string& identifierToDisplay) {
    return ask(PLAIN_TEXT, certificate, identifier, identifierToDisplay);
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const Names& referenceIdentifiers) {
    return ask(MARKED_TEXT, certificate, referenceIdentifiers);
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const std::string& identifier,
                                        const Names& referenceIdentifiers) {
    return ask(MARKED_TEXT, certificate, identifier, referenceIdentifiers);
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const Names& referenceIdentifiers,
                                        const std::string& identifierToDisplay) {
    return ask(MARKED_TEXT, certificate, referenceIdentifiers, identifierToDisplay);
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const std::string& identifier,
                                        const Names& referenceIdentifiers,
                                        const std::string& identifierToDisplay) {
    return ask(MARKED_TEXT, certificate, identifier, referenceIdentifiers, identifierToDisplay);
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const std::string& sniName,
                                        const std::string& identifier, const Names& referenceIdentifiers) {
    return ask(MARKED_TEXT, certificate, sniName, identifier, referenceIdentifiers);
}

bool HttpCertAdapter::verifyCertificate(const x509_st* certificate, const std::string& sniName,
                                        const std::string& identifier, const Names& referenceIdentifiers,
                                        const std::string& identifierToDisplay) {
    return ask(MARKED_TEXT, certificate, sniName, identifier, referenceIdentifiers, identifierToDisplay);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier) {
    return ask(MARKED_TEXT, chain, identifier);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                                        const std::string& identifierToDisplay) {
    return ask(MARKED_TEXT, chain, identifier, identifierToDisplay);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const Names& referenceIdentifiers) {
    return ask(MARKED_TEXT, chain, referenceIdentifiers);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                                        const Names& referenceIdentifiers) {
    return ask(MARKED_TEXT, chain, identifier, referenceIdentifiers);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const Names& referenceIdentifiers,
                                        const std::string& identifierToDisplay) {
    return ask(MARKED_TEXT, chain, referenceIdentifiers, identifierToDisplay);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const std::string& identifier,
                                        const Names& referenceIdentifiers,
                                        const std::string& identifierToDisplay) {
    return ask(MARKED_TEXT, chain, identifier, referenceIdentifiers, identifierToDisplay);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const std::string& sniName,
                                        const std::string& identifier, const Names& referenceIdentifiers) {
    return ask(MARKED_TEXT, chain, sniName, identifier, referenceIdentifiers);
}

bool HttpCertAdapter::verifyCertificate(const x509_store_ctx_st* chain, const std::string& sniName,
                                        const std::string& identifier, const Names& referenceIdentifiers,
                                        const std::string& identifierToDisplay) {
    return ask(MARKED_TEXT, chain, sniName, identifier, referenceIdentifiers, identifierToDisplay);
}

}  // namespace zeb::netutils::adapters

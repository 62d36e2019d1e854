#include "http/SslUtils.h"

#include "core/Log.h"
#include "http/CertVerifier.h"
#include "http/SSLData.h"

#include <openssl/x509_vfy.h>

namespace zeb::http {

namespace {

bool matchIdentity(SSLData& data, x509_store_ctx_st* storeCtx) {
    switch (data.identityMatchModel) {
        case IdentityMatchModel::SOFT_MATCH:
            return SslUtils::softIdentityMatch(&data, storeCtx);
        case IdentityMatchModel::STRICT_MATCH:
            return SslUtils::strictIdentityMatch(&data, storeCtx);
    }
    ZEB_LOG_ERROR(log::httpClient(), "Unrecognized IdentityMatchModel value: " << data.identityMatchModel);
    return false;
}

/// A verifier that throws has trusted nothing; and nothing may be thrown through the handshake.
bool isTrusted(SSLData& data, x509_store_ctx_st* storeCtx) {
    try {
        return matchIdentity(data, storeCtx);
    } catch (...) {
        ZEB_LOG_ERROR(log::httpClient(), "The certificate verifier has thrown an exception.");
        return false;
    }
}

/// libcurl and OpenSSL read the verdict from the store context as well as from the return value.
void leaveVerdict(x509_store_ctx_st* storeCtx, bool accepted) {
    if (accepted) {
        X509_STORE_CTX_set_error(storeCtx, X509_V_OK);
    } else if (X509_STORE_CTX_get_error(storeCtx) == X509_V_OK) {
        X509_STORE_CTX_set_error(storeCtx, X509_V_ERR_APPLICATION_VERIFICATION);
    }
}

}  // namespace

int SslUtils::verifyCb(x509_store_ctx_st* storeCtx, void* sslData) {
    bool accepted = false;
    auto* const data = static_cast<SSLData*>(sslData);
    if (data == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(),
                      "The private data passed to the verify callback from SSL is NULL, "
                      "unable to operate on it.");
    } else if (data->certVerifier == nullptr) {
        ZEB_LOG_ERROR(log::httpClient(), "No Certificate Verifier set, rejecting the certificate");
    } else {
        accepted = isTrusted(*data, storeCtx);
        ZEB_LOG_INFO(log::httpClient(), (accepted ? "Certificate Verified by application using "
                                                  : "Certificate NOT Verified by application using ")
                                            << data->identityMatchModel << " identity matching model.");
    }
    if (storeCtx != nullptr) {
        leaveVerdict(storeCtx, accepted);
    }
    return accepted ? 1 : 0;
}

bool SslUtils::softIdentityMatch(SSLData* sslData, x509_store_ctx_st* storeCtx) {
    if (!sslData->sniServerName.empty()) {
        sslData->referenceIdentifiers.push_back(sslData->sniServerName);
    }
    sslData->referenceIdentifiers.push_back(sslData->serverCurlFQDN);
    const x509_store_ctx_st* const chain = storeCtx;
    return sslData->identifierToDisplay.empty()
               ? sslData->certVerifier->verifyCertificate(chain, sslData->referenceIdentifiers)
               : sslData->certVerifier->verifyCertificate(chain, sslData->referenceIdentifiers,
                                                          sslData->identifierToDisplay);
}

bool SslUtils::strictIdentityMatch(SSLData* sslData, x509_store_ctx_st* storeCtx) {
    sslData->referenceIdentifiersDefaulted = true;
    const x509_store_ctx_st* const chain = storeCtx;
    CertVerifier& verifier = *sslData->certVerifier;
    const std::string& fqdn = sslData->serverCurlFQDN;
    const CertVerifier::Names& references = sslData->referenceIdentifiers;
    const std::string& display = sslData->identifierToDisplay;
    if (sslData->sniServerName.empty()) {
        return display.empty() ? verifier.verifyCertificate(chain, fqdn, references)
                               : verifier.verifyCertificate(chain, fqdn, references, display);
    }
    const std::string& sni = sslData->sniServerName;
    return display.empty() ? verifier.verifyCertificate(chain, sni, fqdn, references)
                           : verifier.verifyCertificate(chain, sni, fqdn, references, display);
}

}  // namespace zeb::http

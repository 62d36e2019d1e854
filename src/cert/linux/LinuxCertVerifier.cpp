#include "cert/linux/LinuxCertVerifier.h"

#include "cert/utils/OpenSslHandles.h"
#include "core/Log.h"
#include "qrmcoreutils/QRMCoreUtils.h"

#include <atomic>
#include <memory>

#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

namespace zeb::cert {

namespace {

using QRMCoreUtils::FileUtils;
using TrustSource = LinuxCertVerifier::TrustSource;

constexpr int NO_SECURITY_LEVEL = -1;
constexpr const char* CERTS_DIRECTORY = "/etc/ssl/certs/";

std::atomic<TrustSource*> sourceOfTests{nullptr};

TrustSource& trustSource() {
    // Never destroyed: handshakes may outlive static destruction.
    static auto* const system = new TrustSource{CERTS_DIRECTORY, TrustStoreCache()};
    TrustSource* const other = sourceOfTests.load();
    return other != nullptr ? *other : *system;
}

/// Empty when there is none.
std::string findBundle(const std::string& directory) {
    for (const char* const name : {"ca-certificates.crt", "ca-bundle.crt"}) {
        std::string path = directory + name;
        if (FileUtils::fileExists(path)) {
            return path;
        }
    }
    return "";
}

TrustStoreCache::Store trustStore() {
    TrustSource& source = trustSource();
    const std::string bundle = findBundle(source.directory);
    if (bundle.empty()) {
        ZEB_LOG_ERROR(log::cert(), "load ca certs failed");
        return {X509_STORE_new(), &X509_STORE_free};
    }
    return source.cache.load(bundle);
}

/// What OpenSSL itself would have asked of keys and signatures in the handshake; -1 asks nothing.
int securityLevelOf(X509_STORE_CTX* handshake) {
    const X509_VERIFY_PARAM* const parameters = X509_STORE_CTX_get0_param(handshake);
    return parameters == nullptr ? NO_SECURITY_LEVEL : X509_VERIFY_PARAM_get_auth_level(parameters);
}

std::set<CertStatus::Status> verify(X509* leaf, STACK_OF(X509) * chain, int securityLevel) {
    const OpenSslErrorScope errors;
    const TrustStoreCache::Store store = trustStore();  // outlives the context, which doesn't hold it
    const OpenSslPtr<X509_STORE_CTX> context(X509_STORE_CTX_new());
    if (context == nullptr) {
        ZEB_LOG_ERROR(log::cert(), "verify failed: " << X509_V_ERR_OUT_OF_MEM);
        return {CertStatus::UNKNOWN};
    }
    const bool ready = X509_STORE_CTX_init(context.get(), store.get(), leaf, chain) == 1;
    if (ready) {
        X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context.get()), securityLevel);
    }
    if (!ready || X509_verify_cert(context.get()) != 1) {
        ZEB_LOG_ERROR(log::cert(), "verify failed: " << X509_STORE_CTX_get_error(context.get()));
        return {CertStatus::UNKNOWN};
    }
    return {CertStatus::VALID};
}

}  // namespace

LinuxCertVerifier::~LinuxCertVerifier() = default;

std::set<CertStatus::Status> LinuxCertVerifier::verifyCertificate(const x509_st* certificate) {
    // OpenSSL takes it without const, as it notes in it what it has worked out of its extensions.
    return verify(const_cast<X509*>(certificate), nullptr, NO_SECURITY_LEVEL);
}

std::set<CertStatus::Status> LinuxCertVerifier::verifyCertificate(const x509_store_ctx_st* chain) {
    if (chain == nullptr) {
        return verify(nullptr, nullptr, NO_SECURITY_LEVEL);  // which OpenSSL refuses
    }
    auto* const handshake = const_cast<X509_STORE_CTX*>(chain);  // only read; OpenSSL 1.1.1 lacks the const
    return verify(X509_STORE_CTX_get0_cert(handshake), X509_STORE_CTX_get0_untrusted(handshake),
                  securityLevelOf(handshake));
}

void LinuxCertVerifier::setTrustSourceForTests(TrustSource* source) {
    sourceOfTests = source;
}

}  // namespace zeb::cert

#pragma once

#include "core/Export.h"

#include <memory>

struct x509_st;
struct x509_store_ctx_st;

namespace zeb::cert {

class CertContainer;
class CertificateData;

/// Takes the snapshots of certificates. A host or a test may derive and make its own.
class ZEBNETUTILS_EXPORT CertificateDataFactory {
public:
    virtual ~CertificateDataFactory();

    /// Never null; the data of what is null or not valid is empty.
    virtual std::shared_ptr<CertificateData> buildCertificateData(
        std::shared_ptr<CertContainer> certContainer);
    virtual std::shared_ptr<CertificateData> buildCertificateData(const x509_st* cert);
    virtual std::shared_ptr<CertificateData> buildCertificateData(const x509_store_ctx_st* certChain);
};

}  // namespace zeb::cert

#pragma once

#include "cert/utils/CertContainer.h"

namespace zeb::cert {

class ZEBNETUTILS_EXPORT CertContainerImpl : public CertContainer {
public:
    /// Empty and never valid.
    CertContainerImpl();
    explicit CertContainerImpl(const x509_st* leafCert);
    explicit CertContainerImpl(const x509_store_ctx_st* certChain);

    bool isValid() const override;
    x509_st* getLeafCert() const override;
    bool isLeafCert() const override;
    bool hasValidLeafCert() const override;
    x509_store_ctx_st* getCertChain() const override;

private:
    const x509_st* leafCert_ = nullptr;
    const x509_store_ctx_st* certChain_ = nullptr;
    bool isLeafCert_ = false;
};

}  // namespace zeb::cert

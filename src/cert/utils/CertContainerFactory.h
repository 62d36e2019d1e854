#pragma once

#include "core/Export.h"

#include <memory>

struct x509_st;
struct x509_store_ctx_st;

namespace zeb::cert {

class CertContainer;

/// Makes the containers that certificates travel in. A host or a test may derive and make its own.
class ZEBNETUTILS_EXPORT CertContainerFactory {
public:
    virtual ~CertContainerFactory();

    /// Never null; the container of a null pointer is not valid. The container does not own what it is given.
    virtual std::shared_ptr<CertContainer> buildCertContainer(const x509_st* leafCert);
    virtual std::shared_ptr<CertContainer> buildCertContainer(const x509_store_ctx_st* certChain);
};

}  // namespace zeb::cert

#pragma once

#include "cert/common/CertResult.h"
#include "core/Export.h"

#include <memory>
#include <string>

namespace zeb::cert {

class CertificateData;

/// Whoever carries the result of a certificate's checks to its end.
class ZEBNETUTILS_EXPORT CertVerifierTask {
public:
    virtual ~CertVerifierTask();

    /// The final result. May wait as long as a user takes to answer.
    virtual CertResult executeTask(CertResult result, const std::string& matchedIdentifier,
                                   std::shared_ptr<CertificateData> certificateData,
                                   const std::string& identifierToDisplay) = 0;
};

}  // namespace zeb::cert

#pragma once

namespace zeb::cert {

/// How a certificate is written down.
struct CertEncoding {
    enum Format : int {
        DER = 0,
        PEM = 1,  ///< RFC 7468
    };
};

}  // namespace zeb::cert

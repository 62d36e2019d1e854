#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::http {

/// Turns the TLS versions that a caller accepts into option bits for SSL_CTX_set_options. SSLv3 is always
/// disabled.
///
/// A mask of versions has bit 1 for TLS 1.0, bit 2 for TLS 1.1 and bit 4 for TLS 1.2; other bits say nothing.
/// TLS 1.3 can't be disabled here: a mask of 0 leaves it as the only version.
class ZEBNETUTILS_EXPORT OpenSSLOptions {
public:
    OpenSSLOptions() = delete;

    /// SSL_OP_NO_SSLv3.
    static long getDefaultOptions();
    /// The bits that disable what the mask doesn't name.
    static long translateTlsVersions(long tlsVersions);
    /// Both together; logs the text when it differs from the default.
    static long getOptions(long tlsVersions);
    /// "OpenSSL Options: SSL_OP_NO_SSLv3 SSL_OP_NO_TLSv1": the names of the four bits that are set.
    static std::string toString(long options);
};

}  // namespace zeb::http

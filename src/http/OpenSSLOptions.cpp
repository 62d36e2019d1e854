#include "http/OpenSSLOptions.h"

#include "core/Log.h"

#include <openssl/ssl.h>

namespace zeb::http {

namespace {

/// A TLS version that can be disabled, or one that always is, with mask bit 0.
struct Version {
    long maskBit;
    long disablingOption;
    const char* text;
};

constexpr Version VERSIONS[] = {
    {0, static_cast<long>(SSL_OP_NO_SSLv3), " SSL_OP_NO_SSLv3"},
    {1, static_cast<long>(SSL_OP_NO_TLSv1), " SSL_OP_NO_TLSv1"},
    {2, static_cast<long>(SSL_OP_NO_TLSv1_1), " SSL_OP_NO_TLSv1_1"},
    {4, static_cast<long>(SSL_OP_NO_TLSv1_2), " SSL_OP_NO_TLSv1_2"},
};

}  // namespace

long OpenSSLOptions::getDefaultOptions() {
    return static_cast<long>(SSL_OP_NO_SSLv3);
}

long OpenSSLOptions::translateTlsVersions(long tlsVersions) {
    long options = 0;
    for (const Version& version : VERSIONS) {
        if (version.maskBit != 0 && (tlsVersions & version.maskBit) == 0) {
            options |= version.disablingOption;
        }
    }
    return options;
}

long OpenSSLOptions::getOptions(long tlsVersions) {
    const long options = getDefaultOptions() | translateTlsVersions(tlsVersions);
    if (options != getDefaultOptions()) {
        ZEB_LOG_DEBUG(log::http(), toString(options));
    }
    return options;
}

std::string OpenSSLOptions::toString(long options) {
    std::string text = "OpenSSL Options:";
    for (const Version& version : VERSIONS) {
        if ((options & version.disablingOption) != 0) {
            text += version.text;
        }
    }
    return text;
}

}  // namespace zeb::http

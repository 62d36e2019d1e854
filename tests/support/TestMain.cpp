#include "support/Threads.h"

#include <cstdlib>

#include <gmock/gmock.h>
#include <openssl/crypto.h>

/// The environment of the machine must not decide what a test sees.
int main(int argc, char** argv) {
    for (const char* name : {"SSL_CERT_FILE", "SSL_CERT_DIR", "CURL_CA_BUNDLE", "http_proxy", "https_proxy",
                             "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
        unsetenv(name);
    }
#ifdef __SANITIZE_THREAD__
    // What OpenSSL frees at the end of the process the idle threads of lasting pools have used before. That
    // they don't any more is nothing ThreadSanitizer could see.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
#endif
    testing::InitGoogleMock(&argc, argv);
    const int status = RUN_ALL_TESTS();
    zeb::test::awaitThreadsThatEnd();
    return status;
}

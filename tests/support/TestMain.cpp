#include <cstdlib>

#include <gmock/gmock.h>

/// The environment of the machine must not decide what a test sees.
int main(int argc, char** argv) {
    for (const char* name : {"SSL_CERT_FILE", "SSL_CERT_DIR", "CURL_CA_BUNDLE", "http_proxy", "https_proxy",
                             "HTTP_PROXY", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
        unsetenv(name);
    }
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}

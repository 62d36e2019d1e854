#include "Certificates.h"
#include "Require.h"
#include "Seeds.h"
#include "cert/utils/KeyUsageParserImpl.h"
#include "support/Der.h"
#include "zeblogger/ZEBLogger.h"

#include <cstddef>
#include <cstdint>
#include <string>

#include <openssl/err.h>
#include <openssl/x509v3.h>

using namespace zeb::test;
using zeb::cert::BasicKeyUsage;
using zeb::cert::CertKeyUsageResult;
using zeb::cert::ExtendedKeyUsage;
using zeb::cert::KeyUsageParserImpl;

namespace {

constexpr unsigned HIGHEST_BASIC = 256;
constexpr unsigned HIGHEST_EXTENDED = 512;

const Seeds& seeds() {
    static const Seeds made({
        der::keyUsage(""),
        der::keyUsage("\x80"),
        der::keyUsage(std::string("\xFF\x80", 2)),
        der::value(der::BIT_STRING, "\x09\x80"),
        der::extendedKeyUsage({}),
        der::extendedKeyUsage({"1.3.6.1.5.5.7.3.1", "1.3.6.1.5.5.7.3.2", "1.3.6.1.5.5.7.3.9"}),
        der::extendedKeyUsage({"2.5.29.37.0"}),
        der::extendedKeyUsage({"1.2.3.4.5", "1.3.6.1.5.5.7.3.10"}),
        der::sequence({der::value(der::OBJECT_IDENTIFIER, "")}),
    });
    return made;
}

bool has(const KeyUsageParserImpl& parser, BasicKeyUsage::Usage usage) {
    return parser.verifyBasicKeyUsage({usage}) == CertKeyUsageResult::SUCCESS;
}

bool has(const KeyUsageParserImpl& parser, ExtendedKeyUsage::Usage usage) {
    return parser.verifyExtendedKeyUsage({usage}) == CertKeyUsageResult::SUCCESS;
}

KeyUsageParserImpl parse(const X509* certificate) {
    ERR_clear_error();
    KeyUsageParserImpl parser;
    ZEB_REQUIRE(parser.parse(certificate) == CertKeyUsageResult::SUCCESS);
    ZEB_REQUIRE(ERR_peek_error() == 0);
    ZEB_REQUIRE(parser.verifyBasicKeyUsage({}) == CertKeyUsageResult::SUCCESS);
    ZEB_REQUIRE(parser.verifyExtendedKeyUsage({}) == CertKeyUsageResult::SUCCESS);
    return parser;
}

void checkBasic(const std::string& input) {
    const KeyUsageParserImpl parser = parse(withExtension(NID_key_usage, input).get());
    bool any = false;
    for (unsigned bit = 1; bit <= HIGHEST_BASIC; bit *= 2) {
        any = has(parser, static_cast<BasicKeyUsage::Usage>(bit)) || any;
    }
    ZEB_REQUIRE(parser.hasBasicKeyUsage() == any);
    ZEB_REQUIRE(!parser.hasExtendedKeyUsage());
    // What nobody can read allows nothing.
    ZEB_REQUIRE(!any || input.size() >= 4);
}

void checkExtended(const std::string& input) {
    const FuzzedCertificate certificate = withExtension(NID_ext_key_usage, input);
    const KeyUsageParserImpl parser = parse(certificate.get());
    bool any = parser.isAnyExtendedKeyUsageSet();
    for (unsigned bit = 1; bit <= HIGHEST_EXTENDED; bit *= 2) {
        any = has(parser, static_cast<ExtendedKeyUsage::Usage>(bit)) || any;
    }
    ZEB_REQUIRE(!any || parser.hasExtendedKeyUsage());
    if (parser.hasExtendedKeyUsage()) {
        const std::uint32_t purposes =
            X509_get_extended_key_usage(certificate.get());  // OpenSSL's own reading
        ZEB_REQUIRE(has(parser, ExtendedKeyUsage::SERVER_AUTH) == ((purposes & XKU_SSL_SERVER) != 0));
        ZEB_REQUIRE(has(parser, ExtendedKeyUsage::CLIENT_AUTH) == ((purposes & XKU_SSL_CLIENT) != 0));
        ZEB_REQUIRE(has(parser, ExtendedKeyUsage::OCSP_SIGN) == ((purposes & XKU_OCSP_SIGN) != 0));
        ZEB_REQUIRE(has(parser, ExtendedKeyUsage::DVCS) == ((purposes & XKU_DVCS) != 0));
        ZEB_REQUIRE(parser.isAnyExtendedKeyUsageSet() == ((purposes & XKU_ANYEKU) != 0));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    checkBasic(input);
    checkExtended(input);
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    LogController::getInstance()->setLevel(0);
    seeds().replay(LLVMFuzzerTestOneInput);
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t maxSize,
                                               unsigned random) {
    return seeds().mutate(data, size, maxSize, random);
}

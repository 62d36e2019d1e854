#include "Require.h"
#include "Seeds.h"
#include "cert/utils/AltNameParserImpl.h"
#include "cert/utils/CertUtils.h"
#include "cert/utils/CertificateDataImpl.h"
#include "cert/utils/KeyStrengthParserImpl.h"
#include "cert/utils/KeyUsageParserImpl.h"
#include "support/CertificateBuilder.h"
#include "zeblogger/ZEBLogger.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <climits>
#include <openssl/err.h>
#include <openssl/x509.h>

using namespace zeb::test;
using namespace zeb::cert;

namespace {

using Certificate = std::shared_ptr<X509>;

/// Whole certificates: what comes in with a handshake.
const Seeds& seeds() {
    static const Seeds made = [] {
        std::vector<std::string> all;
        for (const Key& key :
             {Keys::rsa(512), Keys::ec(), Keys::dsa(1024), Keys::ed25519(), Keys::rsaPss(1024)}) {
            all.push_back(
                CertificateBuilder().key(key).commonName("a.test").dnsNames({"a.test"}).ca().build().der());
        }
        all.push_back(CertificateBuilder().unreadablePublicKey().build().der());
        return Seeds(all);
    }();
    return made;
}

Certificate load(const std::uint8_t* data, std::size_t size, CertEncoding::Format format) {
    return {CertUtils::loadCertificate(data, static_cast<int>(size), format), &X509_free};
}

void checkStrength(const X509* certificate) {
    KeyStrengthParserImpl parser;
    ZEB_REQUIRE(parser.parse(certificate) == CertKeyStrengthResult::SUCCESS);
    ZEB_REQUIRE(parser.verify(0) == CertKeyStrengthResult::SUCCESS);
    bool enough = true;
    for (int bits = 1; bits < INT_MAX / 2; bits *= 2) {
        const bool stillEnough = parser.verify(bits) == CertKeyStrengthResult::SUCCESS;
        ZEB_REQUIRE(enough || !stillEnough);
        enough = stillEnough;
    }
}

void checkData(const X509* certificate) {
    const CertificateDataImpl data(certificate);
    ZEB_REQUIRE(data.getPem().size() == 1);
    const std::string pem = data.getPem().front();
    if (!pem.empty()) {
        const Certificate again =
            load(reinterpret_cast<const std::uint8_t*>(pem.c_str()), 0, CertEncoding::PEM);
        ZEB_REQUIRE(again != nullptr);
        ZEB_REQUIRE(CertificateDataImpl(again.get()).getFingerprint() == data.getFingerprint());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ERR_clear_error();
    const Certificate certificate = load(data, size, CertEncoding::DER);
    if (certificate != nullptr) {
        checkStrength(certificate.get());
        checkData(certificate.get());
        KeyUsageParserImpl usage;
        ZEB_REQUIRE(usage.parse(certificate.get()) == CertKeyUsageResult::SUCCESS);
        AltNameParserImpl names;
        ZEB_REQUIRE(names.parse(certificate.get()) != CertIdentifierStatus::INTERNAL_ERROR);
    }
    ZEB_REQUIRE(ERR_peek_error() == 0);
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

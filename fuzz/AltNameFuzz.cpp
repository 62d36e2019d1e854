#include "Certificates.h"
#include "Require.h"
#include "Seeds.h"
#include "cert/utils/AltNameParserImpl.h"
#include "support/Der.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <openssl/err.h>

using namespace zeb::test;
using zeb::cert::AltNameParserImpl;
using zeb::cert::CertIdentifierStatus;

namespace {

constexpr char SRV_NAME[] = "1.3.6.1.5.5.7.8.7";
constexpr char XMPP_ADDRESS[] = "1.3.6.1.5.5.7.8.5";
constexpr char VICTIM[] = "VICTIM.EXAMPLE";
constexpr char WILDCARD_OF_VICTIM[] = "*.EXAMPLE";

const Seeds& seeds() {
    static const Seeds made({
        der::sequence({}),
        der::sequence({der::dnsName("victim.example")}),
        der::sequence({der::dnsName("*.example"), der::dnsName("a.test")}),
        der::sequence({der::dnsName(std::string("victim.example\0.evil.example", 28))}),
        der::sequence(
            {der::dnsName("*.10.0.0.1"), der::ipAddress("\x0A\x01\x01\x01"), der::uri("https://a.test/")}),
        der::sequence({der::otherName(SRV_NAME, der::value(der::IA5_STRING, "_xmpp-server.victim.example")),
                       der::otherName(XMPP_ADDRESS, der::value(der::UTF8_STRING, "victim.example"))}),
        der::sequence({der::otherName(SRV_NAME, der::value(der::BOOLEAN, "\xFF")),
                       der::otherName(XMPP_ADDRESS, der::value(der::NULL_VALUE, ""))}),
        der::sequence(
            {der::otherName(XMPP_ADDRESS, der::value(der::BMP_STRING, der::widened("victim.example", 2))),
             der::otherName("1.2.3.4.5", der::value(der::INTEGER, "1"))}),
        der::sequence({der::otherName(SRV_NAME, der::sequence({der::value(der::OCTET_STRING, "a")})),
                       der::rfc822Name("a@b.test")}),
    });
    return made;
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::toupper(character)); });
    return text;
}

bool anyIs(const std::vector<std::string>& names, const std::string& text) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return upper(name) == text; });
}

bool matches(CertIdentifierStatus::Status status) {
    ZEB_REQUIRE(status == CertIdentifierStatus::SUCCESS || status == CertIdentifierStatus::NO_MATCH_FOUND);
    return status == CertIdentifierStatus::SUCCESS;
}

void checkNames(const std::vector<std::string>& names, const std::string& input) {
    for (const std::string& name : names) {
        ZEB_REQUIRE(name.find('\0') == std::string::npos);
        ZEB_REQUIRE(name.size() <= input.size());  // no part of it, perhaps: a string may come in pieces
    }
}

void checkMatches(AltNameParserImpl& parser, bool ccMode) {
    std::vector<std::string> names = parser.getDnsNames();
    const std::vector<std::string> dnsNames = names;
    if (names.empty()) {
        names.push_back(parser.getCommonName());
    }
    const bool expected = anyIs(names, VICTIM) || (!ccMode && anyIs(names, WILDCARD_OF_VICTIM));
    ZEB_REQUIRE(matches(parser.verify("victim.example")) == expected);
    ZEB_REQUIRE(matches(parser.verifyXmpp("victim.example")) ==
                (expected || anyIs(parser.getXmppAddresses(), VICTIM) ||
                 anyIs(parser.getSrvNames(), std::string("_XMPP-SERVER.") + VICTIM)));
    for (const std::string& name : dnsNames) {
        ZEB_REQUIRE(matches(parser.verify(name)) == !name.empty());
    }
    ZEB_REQUIRE(!matches(parser.verifyXmpp("")));
}

void checkCertificate(const X509* certificate, const std::string& input) {
    ERR_clear_error();
    for (const bool ccMode : {false, true}) {
        AltNameParserImpl parser(ccMode);
        const bool named = parser.parse(certificate) == CertIdentifierStatus::SUCCESS;
        ZEB_REQUIRE(ERR_peek_error() == 0);
        ZEB_REQUIRE(named == !(parser.getDnsNames().empty() && parser.getSrvNames().empty() &&
                               parser.getXmppAddresses().empty() && parser.getCommonName().empty()));
        checkNames(parser.getDnsNames(), input);
        checkNames(parser.getSrvNames(), input);
        checkNames(parser.getXmppAddresses(), input);
        checkMatches(parser, ccMode);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    checkCertificate(withExtension(NID_subject_alt_name, input).get(), input);
    checkCertificate(withCommonName(V_ASN1_UTF8STRING, input).get(), input);
    checkCertificate(withCommonName(V_ASN1_BMPSTRING, input).get(), input);
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

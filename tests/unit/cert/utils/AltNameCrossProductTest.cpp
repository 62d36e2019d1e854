#include "cert/utils/AltNameParserImpl.h"
#include "support/CertificateBuilder.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace zeb::cert::test {
namespace {

using zeb::test::CertificateBuilder;

using Texts = std::vector<std::string>;

// Every name against every reference identifier: what stands in the table matches, nothing else does. The
// table was written by hand, from RFC 6125 and these rules: without regard to ASCII case; "*." at the very
// beginning stands for one label, whatever it is; nothing is normalised; no wildcard before an IP address;
// no wildcard at all in Common Criteria mode.

#define BUECHER \
    "b\xC3\xBC" \
    "cher.example"  // in UTF-8
#define BUECHER_UPPER \
    "B\xC3\x9C"       \
    "CHER.example"                     // "ü" has another upper case than its bytes
#define CYRILLIC "ex\xD0\xB0mple.com"  // with a letter that looks like "a"
#define IDEOGRAPHIC_DOT \
    "www\xE3\x80\x82"   \
    "example.com"

const Texts REFERENCES = {
    "",
    "example.com",
    "EXAMPLE.com",
    "example.com.",
    ".example.com",
    "www.example.com",
    "WWW.EXAMPLE.COM",
    "www.example.com.",
    "www..example.com",
    " www.example.com",
    "www.example.com ",
    "www.example.com:443",
    "https://www.example.com",
    "a.example.com",
    "b.example.com",
    "a.b.example.com",
    "a.b.c.example.com",
    "foo.example.com",
    "bar-foo.example.com",
    "-a.example.com",
    "a_b.example.com",
    "*.example.com",
    "*.EXAMPLE.com",
    "f*.example.com",
    "foo.*.example.com",
    "xn--foo.example.com",
    "_sip._tcp.example.com",
    "wwwexample.com",
    "notexample.com",
    "www.notexample.com",
    "a.com",
    "com",
    ".com",
    "com.",
    ".",
    "www.example.org",
    "example.org",
    "co.uk",
    "www.co.uk",
    "www.example.co.uk",
    "localhost",
    "localhost.",
    "a.localhost",
    "xn--bcher-kva.example",
    "XN--BCHER-KVA.example",
    BUECHER,
    BUECHER_UPPER,
    "www.xn--bcher-kva.example",
    "www." BUECHER,
    "www." CYRILLIC,
    IDEOGRAPHIC_DOT,
    "10.0.0.1",
    "x.10.0.0.1",
    "10.0.0.1.example.com",
    "192.168.1.1",
    "010.0.0.1",
    "::1",
    "x.::1",
    "[::1]",
    "fe80::1",
    "x.fe80::1",
    "FE80::1",
    "10",
    "a.10",
    "a.10.test",
    "a.1234",
    "a.1234.test",
    "a.1.2.3.4.5",
};

struct Row {
    const char* name;  ///< in the certificate
    Texts exact;       ///< reference identifiers that match in either mode
    Texts wildcard;    ///< reference identifiers that match unless in Common Criteria mode
};

const Texts UNDER_EXAMPLE_COM = {".example.com",       "www.example.com",         "WWW.EXAMPLE.COM",
                                 " www.example.com",   "https://www.example.com", "a.example.com",
                                 "b.example.com",      "foo.example.com",         "bar-foo.example.com",
                                 "-a.example.com",     "a_b.example.com",         "f*.example.com",
                                 "xn--foo.example.com"};
const Texts UNDER_COM = {"example.com", "EXAMPLE.com", "wwwexample.com", "notexample.com",
                         "a.com",       ".com",        IDEOGRAPHIC_DOT};

const std::vector<Row> ROWS = {
    // Without a wildcard.
    {"example.com", {"example.com", "EXAMPLE.com"}, {}},
    {"Example.COM", {"example.com", "EXAMPLE.com"}, {}},
    {"example.com.", {"example.com."}, {}},
    {".example.com", {".example.com"}, {}},
    {"www.example.com", {"www.example.com", "WWW.EXAMPLE.COM"}, {}},
    {"wWw.eXample.com", {"www.example.com", "WWW.EXAMPLE.COM"}, {}},
    {"www.example.com.", {"www.example.com."}, {}},
    {" www.example.com", {" www.example.com"}, {}},
    {"www.example.com ", {"www.example.com "}, {}},
    {"www.example.com\n", {}, {}},
    {"www.example.com:443", {"www.example.com:443"}, {}},
    {"https://www.example.com", {"https://www.example.com"}, {}},
    {"https://www.example.com/", {}, {}},
    {"a.b.example.com", {"a.b.example.com"}, {}},
    {"com", {"com"}, {}},
    {".", {"."}, {}},
    {"localhost", {"localhost"}, {}},
    {"_sip._tcp.example.com", {"_sip._tcp.example.com"}, {}},
    {"www.example.com,a.example.com", {}, {}},
    {"www.example.com a.example.com", {}, {}},
    {"user@example.com", {}, {}},
    // With a wildcard where it belongs.
    {"*.example.com", {"*.example.com", "*.EXAMPLE.com"}, UNDER_EXAMPLE_COM},
    {"*.EXAMPLE.Com", {"*.example.com", "*.EXAMPLE.com"}, UNDER_EXAMPLE_COM},
    {"*.b.example.com", {}, {"a.b.example.com"}},
    {"*.c.example.com", {}, {}},
    {"*.example.com.", {}, {"www.example.com."}},
    {"*.example.org", {}, {"www.example.org"}},
    {"*.com", {}, UNDER_COM},
    {"*.com.", {}, {"example.com."}},
    {"*.co.uk", {}, {"www.co.uk"}},
    {"*.uk", {}, {"co.uk"}},
    {"*.localhost", {}, {"a.localhost"}},
    {"*._tcp.example.com", {}, {"_sip._tcp.example.com"}},
    {"*.example.com:443", {}, {"www.example.com:443"}},
    {"*.example.com ", {}, {"www.example.com "}},
    // With a wildcard where it doesn't belong.
    {"*", {}, {}},
    {"*.", {}, {}},
    {"*..", {}, {}},
    {"*.*", {}, {}},
    {"**.example.com", {}, {}},
    {"*.*.example.com", {}, {"foo.*.example.com"}},  // of which only the first "*" is one
    {"f*.example.com", {"f*.example.com"}, {}},
    {"*o.example.com", {}, {}},
    {"f*o.example.com", {}, {}},
    {"*-foo.example.com", {}, {}},
    {"bar-*.example.com", {}, {}},
    {"foo.*.example.com", {"foo.*.example.com"}, {}},
    {"a.*.example.com", {}, {}},
    {"www.*.com", {}, {}},
    {"www.example.*", {}, {}},
    {"*example.com", {}, {}},
    {"*www.example.com", {}, {}},
    {" *.example.com", {}, {}},
    {"?.example.com", {}, {}},
    {"*..example.com", {}, {"www..example.com"}},
    {".*.example.com", {}, {}},
    {"%2A.example.com", {}, {}},
    {"xn--*.example.com", {}, {}},
    // Internationalised.
    {"xn--bcher-kva.example", {"xn--bcher-kva.example", "XN--BCHER-KVA.example"}, {}},
    {BUECHER, {BUECHER}, {}},
    {BUECHER_UPPER, {BUECHER_UPPER}, {}},
    {"*.xn--bcher-kva.example", {}, {"www.xn--bcher-kva.example"}},
    {"*." BUECHER, {}, {"www." BUECHER}},
    {"*." BUECHER_UPPER, {}, {}},
    {"*." CYRILLIC, {}, {"www." CYRILLIC}},
    {IDEOGRAPHIC_DOT, {IDEOGRAPHIC_DOT}, {}},
    {"xn--*-kva.example", {}, {}},
    // Like IP addresses.
    {"10.0.0.1", {"10.0.0.1"}, {}},
    {"*.10.0.0.1", {}, {}},
    {"*.0.0.1", {}, {}},
    {"*.168.1.1", {}, {}},
    {"*.0.0.1.example.com", {}, {"10.0.0.1.example.com"}},
    {"*.1", {}, {}},
    {"::1", {"::1"}, {}},
    {"*.::1", {}, {}},
    {"[::1]", {"[::1]"}, {}},
    {"fe80::1", {"fe80::1", "FE80::1"}, {}},
    {"*.fe80::1", {}, {}},
    {"*.10", {}, {}},
    {"*.10.test", {}, {"a.10.test"}},
    {"*.1234", {}, {}},
    {"*.1234.test", {}, {"a.1234.test"}},
    {"*.1.2.3.4.5", {}, {}},
};

bool holds(const Texts& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

enum class Place { DNS_NAME, COMMON_NAME };

class AltNameCrossProductTest : public testing::Test {
protected:
    AltNameCrossProductTest() { LogController::getInstance()->setLevel(0); }

    static void expectTheTable(Place place, bool ccMode) {
        for (const Row& row : ROWS) {
            AltNameParserImpl parser(ccMode);
            CertificateBuilder builder;
            place == Place::DNS_NAME ? builder.dnsNames({row.name}) : builder.commonName(row.name);
            ASSERT_EQ(parser.parse(builder.build().get()), CertIdentifierStatus::SUCCESS) << row.name;
            for (const std::string& reference : REFERENCES) {
                const bool matches =
                    holds(row.exact, reference) || (!ccMode && holds(row.wildcard, reference));
                const auto expected =
                    matches ? CertIdentifierStatus::SUCCESS : CertIdentifierStatus::NO_MATCH_FOUND;
                EXPECT_EQ(parser.verify(reference), expected) << row.name << " for " << reference;
                EXPECT_EQ(parser.verifyXmpp(reference), expected) << row.name << " for XMPP at " << reference;
            }
        }
    }
};

TEST_F(AltNameCrossProductTest, TheTableIsLargeAndSpeaksOnlyOfReferencesThatAreTried) {
    EXPECT_GE(ROWS.size(), 50U);
    EXPECT_GE(REFERENCES.size(), 50U);
    EXPECT_EQ(std::set<std::string>(REFERENCES.begin(), REFERENCES.end()).size(), REFERENCES.size());
    std::set<std::string> names;
    for (const Row& row : ROWS) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        for (const Texts& references : {row.exact, row.wildcard}) {
            for (const std::string& reference : references) {
                EXPECT_TRUE(holds(REFERENCES, reference)) << reference;
            }
        }
    }
}

TEST_F(AltNameCrossProductTest, DnsNamesMatchAsTheTableTells) {
    expectTheTable(Place::DNS_NAME, false);
}

TEST_F(AltNameCrossProductTest, DnsNamesInCommonCriteriaModeMatchAsTheTableTells) {
    expectTheTable(Place::DNS_NAME, true);
}

TEST_F(AltNameCrossProductTest, CommonNamesMatchAsTheTableTells) {
    expectTheTable(Place::COMMON_NAME, false);
}

TEST_F(AltNameCrossProductTest, CommonNamesInCommonCriteriaModeMatchAsTheTableTells) {
    expectTheTable(Place::COMMON_NAME, true);
}

}  // namespace
}  // namespace zeb::cert::test

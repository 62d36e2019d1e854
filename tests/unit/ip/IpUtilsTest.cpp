#include "ip/IpUtils.h"
#include "support/AllocationCounter.h"
#include "support/LogCapture.h"
#include "support/LoopbackServer.h"
#include "zeblogger/ZEBLogger.h"

#include <cstdarg>
#include <cstddef>
#include <dlfcn.h>
#include <memory>
#include <netdb.h>
#include <random>
#include <string>
#include <sys/socket.h>

#include <curl/curl.h>
#include <gmock/gmock.h>

#undef curl_easy_getinfo

namespace {

CURLcode getInfoFailure = CURLE_OK;
CURLINFO onlyFailing = CURLINFO_NONE;  ///< none: all of them

}  // namespace

/// Stands in front of libcurl's in this executable: it fails on request, which libcurl's own never does for
/// the two addresses of a real handle.
extern "C" CURLcode curl_easy_getinfo(CURL* handle, CURLINFO info, ...) {
    using GetInfo = CURLcode (*)(CURL*, CURLINFO, ...);
    static const auto real = reinterpret_cast<GetInfo>(dlsym(RTLD_NEXT, "curl_easy_getinfo"));
    va_list arguments;
    va_start(arguments, info);
    void* const output = va_arg(arguments, void*);
    va_end(arguments);
    const bool fails = getInfoFailure != CURLE_OK && (onlyFailing == CURLINFO_NONE || onlyFailing == info);
    return fails ? getInfoFailure : real(handle, info, output);
}

namespace zeb::ip::test {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::SizeIs;
using zeb::test::AllocationCounter;
using zeb::test::LogCapture;
using zeb::test::LoopbackServer;

// The family checks

TEST(IpUtilsTest, ADottedAddressIsIpv4Only) {
    EXPECT_TRUE(IpUtils::isIpAddress("10.1.2.3"));
    EXPECT_TRUE(IpUtils::isIpv4Address("10.1.2.3"));
    EXPECT_FALSE(IpUtils::isIpv6Address("10.1.2.3"));
}

TEST(IpUtilsTest, AnAddressWithColonsIsIpv6Only) {
    for (const char* text : {"::", "::1", "2001:db8::1", "1:2:3:4:5:6:7:8", "::ffff:10.1.2.3", "FE80::A",
                             "ffff:ffff:ffff:ffff:ffff:ffff:255.255.255.255"}) {
        EXPECT_TRUE(IpUtils::isIpAddress(text)) << text;
        EXPECT_FALSE(IpUtils::isIpv4Address(text)) << text;
        EXPECT_TRUE(IpUtils::isIpv6Address(text)) << text;
    }
}

TEST(IpUtilsTest, TheFormsThatOnlyTheResolverReadsCount) {
    for (const char* text : {"127.1", "1", "0x7f.1", "0X7F000001", "0177.0.0.1", "4294967295"}) {
        EXPECT_TRUE(IpUtils::isIpv4Address(text)) << text;
    }
    EXPECT_TRUE(IpUtils::isIpv6Address("fe80::1%1"));
}

TEST(IpUtilsTest, NamesPortsBracketsAndBlanksMakeNoAddress) {
    for (const char* text :
         {"",          "host",        "a.example",  "dead.beef",  "10.1.2.3:80", "[::1]", "[::1]:80",
          " 10.1.2.3", "10.1.2.3 ",   "10.1.2.3\n", "10.1.2.256", "10.1.2.3.4",  "1.",    ".1",
          "::1::2",    "12345::",     ":",          ":::",        "4294967296",  "*",     "%",
          "%lo",       "10.1.2.3%lo", "\xB2",       "::\xFF"}) {
        EXPECT_FALSE(IpUtils::isIpAddress(text)) << text;
        EXPECT_FALSE(IpUtils::isIpv4Address(text)) << text;
        EXPECT_FALSE(IpUtils::isIpv6Address(text)) << text;
    }
}

TEST(IpUtilsTest, ATextWithANulIsNoAddressWhateverStandsBeforeIt) {
    EXPECT_FALSE(IpUtils::isIpAddress("10.1.2.3\0"s));
    EXPECT_FALSE(IpUtils::isIpAddress("10.1.2.3\0.evil.example"s));
    EXPECT_FALSE(IpUtils::isIpAddress("::1\0"s));
    EXPECT_FALSE(IpUtils::isIpAddress("fe80::1%1\0x"s));
    EXPECT_FALSE(IpUtils::isIpAddress("\0"s));
}

TEST(IpUtilsTest, ANameIsTurnedDownWithoutAllocating) {
    const std::string name = "phone.region.example.test:8443";
    const AllocationCounter allocations;
    EXPECT_FALSE(IpUtils::isIpAddress(name));
    EXPECT_EQ(0U, allocations.count());
}

TEST(IpUtilsTest, TenMegabytesAreNoAddress) {
    for (const char byte : {'a', ':', '.', '%', '1', '\0'}) {
        EXPECT_FALSE(IpUtils::isIpAddress(std::string(10 * 1000 * 1000, byte))) << byte;
    }
}

int resolverFamily(const std::string& text) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* result = nullptr;
    if (getaddrinfo(text.c_str(), nullptr, &hints, &result) != 0) {
        return AF_UNSPEC;
    }
    const int family = result->ai_family;
    freeaddrinfo(result);
    return family;
}

TEST(IpUtilsTest, TheAnswerIsTheResolversForRandomTextsOfTheRightCharacters) {
    static constexpr char ALPHABET[] = "::::....00112459afFx%X g[\n";
    std::mt19937 random(20261121);
    std::uniform_int_distribution<std::size_t> character(0, sizeof(ALPHABET) - 2);
    std::uniform_int_distribution<std::size_t> length(0, 14);
    int addresses = 0;
    for (int round = 0; round < 100000; ++round) {
        std::string text(length(random), ' ');
        for (char& c : text) {
            c = ALPHABET[character(random)];
        }
        const int family = resolverFamily(text);
        addresses += family == AF_UNSPEC ? 0 : 1;
        ASSERT_EQ(family == AF_INET, IpUtils::isIpv4Address(text)) << text;
        ASSERT_EQ(family == AF_INET6, IpUtils::isIpv6Address(text)) << text;
    }
    EXPECT_GT(addresses, 100);  // otherwise the comparison says little
}

TEST(IpUtilsTest, TheAnswerIsTheResolversForRandomDottedNumbers) {
    static constexpr const char* PIECES[] = {"0",   "1",   "9",   "10",  "25",   "99",   "100", "249",
                                             "250", "255", "256", "260", "300",  "999",  "00",  "01",
                                             "08",  "010", "001", "",    "1000", "0255", "a",   "0x1"};
    std::mt19937 random(20261121);
    std::uniform_int_distribution<std::size_t> piece(0, std::size(PIECES) - 1);
    std::uniform_int_distribution<int> dots(2, 4);
    std::uniform_int_distribution<int> usual(0, 3);
    int addresses = 0;
    for (int round = 0; round < 100000; ++round) {
        // Four numbers that fit, more often than not.
        std::string text = PIECES[piece(random) % 10];
        const int count = usual(random) != 0 ? 3 : dots(random);
        for (int i = 0; i < count; ++i) {
            text.append(".").append(PIECES[usual(random) != 0 ? piece(random) % 10 : piece(random)]);
        }
        const bool expected = resolverFamily(text) == AF_INET;
        addresses += expected ? 1 : 0;
        ASSERT_EQ(expected, IpUtils::isIpv4Address(text)) << text;
    }
    EXPECT_GT(addresses, 10000);
}

// appendPortToAddress

TEST(IpUtilsAppendPortTest, PutsThePortBehindANameAndAnIpv4Address) {
    EXPECT_EQ("a.example:8443", IpUtils::appendPortToAddress("a.example", static_cast<unsigned short>(8443)));
    EXPECT_EQ("10.1.2.3:1", IpUtils::appendPortToAddress("10.1.2.3", 1U));
    EXPECT_EQ("10.1.2.3:65535", IpUtils::appendPortToAddress("10.1.2.3", 65535U));
}

TEST(IpUtilsAppendPortTest, PutsAnIpv6AddressIntoBrackets) {
    EXPECT_EQ("[::1]:8443", IpUtils::appendPortToAddress("::1", static_cast<unsigned short>(8443)));
    EXPECT_EQ("[::1]:8443", IpUtils::appendPortToAddress("::1", 8443U));
}

TEST(IpUtilsAppendPortTest, RefusesWhatIsNoBareHostAndHidesItInTheLog) {
    for (const char* host : {"", "[::1]", "a:80", "https://a", "a/b", "::1%]:"}) {
        const LogCapture log;
        EXPECT_EQ("", IpUtils::appendPortToAddress(host, 8443U)) << host;
        EXPECT_THAT(
            log.linesOf("zeb.ip"),
            ElementsAre("Unable to append a port to the provided address. It is not a valid hostname: " +
                        ZEBLogger_replacePIIData(host)));
    }
}

TEST(IpUtilsAppendPortTest, RefusesPort0) {
    const LogCapture log;
    EXPECT_EQ("", IpUtils::appendPortToAddress("a.example", static_cast<unsigned short>(0)));
    EXPECT_EQ("", IpUtils::appendPortToAddress("a.example", 0U));
    const auto* const line = "Unable to append the port to the provided hostname. The port must not be 0";
    EXPECT_THAT(log.linesOf("zeb.ip"), ElementsAre(line, line));
}

TEST(IpUtilsAppendPortTest, RefusesAPortAbove65535BeforeItLooksAtTheHost) {
    const LogCapture log;
    EXPECT_EQ("", IpUtils::appendPortToAddress("a.example", 70000U));
    EXPECT_EQ("", IpUtils::appendPortToAddress("not/a/host", 65536U));
    EXPECT_EQ("", IpUtils::appendPortToAddress("a.example", 4294967295U));
    EXPECT_THAT(log.linesOf("zeb.ip"), ElementsAre("The provided port number is out of range: 70000",
                                                   "The provided port number is out of range: 65536",
                                                   "The provided port number is out of range: 4294967295"));
}

// getIpAddressesFromCurl

struct CurlDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CurlPtr = std::unique_ptr<CURL, CurlDeleter>;

class IpUtilsCurlTest : public ::testing::Test {
protected:
    ~IpUtilsCurlTest() override {
        getInfoFailure = CURLE_OK;
        onlyFailing = CURLINFO_NONE;
    }

    /// Two ends that differ.
    void connect() {
        const std::string url = server_.url("/");
        curl_easy_setopt(handle_.get(), CURLOPT_URL, url.c_str());
        curl_easy_setopt(handle_.get(), CURLOPT_PROXY, "");
        curl_easy_setopt(handle_.get(), CURLOPT_INTERFACE, "host!127.0.0.2");
        ASSERT_EQ(CURLE_OK, curl_easy_perform(handle_.get()));
    }

    const LoopbackServer server_{
        [](const LoopbackServer::Request&) { return LoopbackServer::Reply::response(200, ""); }};
    const CurlPtr handle_{curl_easy_init()};
    std::string local_ = "before";
    std::string destination_ = "before";
};

TEST_F(IpUtilsCurlTest, ANullHandleHasNoAddresses) {
    EXPECT_FALSE(IpUtils::getIpAddressesFromCurl(nullptr, local_, destination_));
    EXPECT_EQ("", local_);
    EXPECT_EQ("", destination_);
}

TEST_F(IpUtilsCurlTest, AHandleThatNeverConnectedHasNoAddresses) {
    const LogCapture log;
    EXPECT_FALSE(IpUtils::getIpAddressesFromCurl(handle_.get(), local_, destination_));
    EXPECT_EQ("", local_);
    EXPECT_EQ("", destination_);
    EXPECT_THAT(log.lines(), SizeIs(0));
}

TEST_F(IpUtilsCurlTest, AHandleThatConnectedHasBothEnds) {
    connect();
    EXPECT_TRUE(IpUtils::getIpAddressesFromCurl(handle_.get(), local_, destination_));
    EXPECT_EQ("127.0.0.2", local_);
    EXPECT_EQ("127.0.0.1", destination_);
}

TEST_F(IpUtilsCurlTest, OneEndIsEnough) {
    connect();
    getInfoFailure = CURLE_UNKNOWN_OPTION;
    onlyFailing = CURLINFO_LOCAL_IP;
    EXPECT_TRUE(IpUtils::getIpAddressesFromCurl(handle_.get(), local_, destination_));
    EXPECT_EQ("", local_);
    EXPECT_EQ("127.0.0.1", destination_);
    onlyFailing = CURLINFO_PRIMARY_IP;
    EXPECT_TRUE(IpUtils::getIpAddressesFromCurl(handle_.get(), local_, destination_));
    EXPECT_EQ("127.0.0.2", local_);
    EXPECT_EQ("", destination_);
}

TEST_F(IpUtilsCurlTest, AFailureIsLoggedForEachEndAndLeavesBothEmpty) {
    const LogCapture log;
    getInfoFailure = CURLE_UNKNOWN_OPTION;
    EXPECT_FALSE(IpUtils::getIpAddressesFromCurl(handle_.get(), local_, destination_));
    EXPECT_EQ("", local_);
    EXPECT_EQ("", destination_);
    const auto* const line = "Unable to get IP address information from the Curl handle: 48";
    EXPECT_THAT(log.linesOf("zeb.ip"), ElementsAre(line, line));
}

}  // namespace
}  // namespace zeb::ip::test

#include "ip/IpAddress.h"
#include "ip/Ipv4Address.h"
#include "ip/Ipv6Address.h"
#include "support/LogCapture.h"
#include "support/Printed.h"
#include "zeblogger/ZEBLogger.h"

#include <arpa/inet.h>
#include <atomic>
#include <cstddef>
#include <dlfcn.h>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace {

std::atomic<std::size_t> readTexts{0};

}  // namespace

/// Stands in front of the system's in this executable, and counts.
extern "C" int inet_pton(int family, const char* text, void* output) noexcept {
    using Read = int (*)(int, const char*, void*);
    static const auto real = reinterpret_cast<Read>(dlsym(RTLD_NEXT, "inet_pton"));
    ++readTexts;
    return real(family, text, output);
}

namespace zeb::ip::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using zeb::test::LogCapture;
using zeb::test::printed;
using Bytes = std::vector<unsigned char>;

const Bytes LOOPBACK_V6{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

TEST(IpAddressTest, IsEmptyByDefault) {
    const IpAddress address;
    EXPECT_TRUE(address.isEmpty());
    EXPECT_EQ("", address.getAddress());
    EXPECT_FALSE(address.isIpv4Address());
    EXPECT_FALSE(address.isIpv6Address());
    EXPECT_EQ(address, IpAddress::createIpAddress(""));
}

TEST(IpAddressTest, TakesAnAddressOfEitherFamily) {
    const IpAddress ipv4 = IpAddress::createIpAddress("10.1.2.3");
    EXPECT_EQ("10.1.2.3", ipv4.getAddress());
    EXPECT_FALSE(ipv4.isEmpty());
    EXPECT_TRUE(ipv4.isIpv4Address());
    EXPECT_FALSE(ipv4.isIpv6Address());
    const IpAddress ipv6 = IpAddress::createIpAddress("2001:DB8::1");
    EXPECT_EQ("2001:DB8::1", ipv6.getAddress());
    EXPECT_FALSE(ipv6.isIpv4Address());
    EXPECT_TRUE(ipv6.isIpv6Address());
}

TEST(IpAddressTest, IsEmptyForATextThatIsNoAddress) {
    for (const char* text :
         {"host", "10.1.2.3.4", "10.1.2.256", "10.1.2.3 ", "[::1]", "::1:8443:x", "10.1.2.3:1"}) {
        EXPECT_TRUE(IpAddress::createIpAddress(text).isEmpty()) << text;
    }
}

TEST(IpAddressTest, OfVersion4IsEmptyForAnIpv6AddressWhichTheGeneralFormTakes) {
    EXPECT_TRUE(Ipv4Address::createIpv4Address("2001:db8::1").isEmpty());
    EXPECT_FALSE(IpAddress::createIpAddress("2001:db8::1").isEmpty());
    EXPECT_EQ("10.1.2.3", Ipv4Address::createIpv4Address("10.1.2.3").getAddress());
    EXPECT_TRUE(Ipv4Address::createIpv4Address("").isEmpty());
    EXPECT_TRUE(Ipv4Address().isEmpty());
}

TEST(IpAddressTest, OfVersion6IsEmptyForAnIpv4Address) {
    EXPECT_TRUE(Ipv6Address::createIpv6Address("10.1.2.3").isEmpty());
    EXPECT_EQ("::ffff:10.1.2.3", Ipv6Address::createIpv6Address("::ffff:10.1.2.3").getAddress());
    EXPECT_TRUE(Ipv6Address::createIpv6Address("").isEmpty());
    EXPECT_TRUE(Ipv6Address().isEmpty());
}

TEST(IpAddressTest, IsComparedByItsTextAlone) {
    EXPECT_EQ(IpAddress::createIpAddress("::1"), IpAddress::createIpAddress("::1"));
    EXPECT_NE(IpAddress::createIpAddress("::1"), IpAddress::createIpAddress("0:0:0:0:0:0:0:1"));
    EXPECT_NE(IpAddress::createIpAddress("2001:db8::a"), IpAddress::createIpAddress("2001:db8::A"));
    EXPECT_EQ(IpAddress::createIpAddress("10.1.2.3"), Ipv4Address::createIpv4Address("10.1.2.3"));
    EXPECT_NE(IpAddress::createIpAddress("10.1.2.3"), IpAddress());
}

TEST(IpAddressTest, IsPrintedAsAPlaceholderOrAsEmpty) {
    EXPECT_EQ("(empty)", printed(IpAddress()));
    EXPECT_EQ(ZEBLogger_replacePIIData("10.1.2.3"), printed(IpAddress::createIpAddress("10.1.2.3")));
}

TEST(IpAddressTest, HasItsBytesInNetworkOrder) {
    EXPECT_THAT(IpAddress::createIpAddress("10.1.2.255").getBytes(), ElementsAre(10, 1, 2, 255));
    EXPECT_EQ(LOOPBACK_V6, IpAddress::createIpAddress("::1").getBytes());
    EXPECT_EQ((Bytes{0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 10, 1, 2, 3}),
              Ipv6Address::createIpv6Address("2001:db8::10.1.2.3").getBytes());
}

TEST(IpAddressTest, GivesTheSameBytesEveryTime) {
    const IpAddress address = IpAddress::createIpAddress("::1");
    address.getBytes().clear();
    EXPECT_EQ(LOOPBACK_V6, address.getBytes());
    EXPECT_EQ(LOOPBACK_V6, address.getBytes());
}

TEST(IpAddressTest, ReadsItsTextOnlyForTheFirstBytesAndThenCopiesThem) {
    const IpAddress address = IpAddress::createIpAddress("::1");
    const std::size_t before = readTexts;
    EXPECT_EQ(LOOPBACK_V6, address.getBytes());
    const std::size_t first = readTexts;
    EXPECT_GT(first, before);
    EXPECT_EQ(LOOPBACK_V6, address.getBytes());
    EXPECT_EQ(first, readTexts);
}

TEST(IpAddressTest, OfATextThatOnlyTheResolverReadsIsReadAnewEachTime) {
    const LogCapture log;
    const IpAddress address = IpAddress::createIpAddress("127.1");
    address.getBytes();
    address.getBytes();
    EXPECT_EQ(2U, log.count("pton_retval: 0"));
}

TEST(IpAddressTest, HasNoBytesWhenEmptyAndLogsNothing) {
    const LogCapture log;
    EXPECT_THAT(IpAddress().getBytes(), IsEmpty());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(IpAddressTest, OfVersion4ThatOnlyTheResolverReadsHasNoBytesAndSaysSo) {
    const LogCapture log;
    const IpAddress address = IpAddress::createIpAddress("127.1");
    EXPECT_TRUE(address.isIpv4Address());
    EXPECT_THAT(address.getBytes(), IsEmpty());
    EXPECT_THAT(log.linesOf("zeb.ip"),
                ElementsAre("inet_pton unable to populate sockAddr.sin_addr, pton_retval: 0"));
}

TEST(IpAddressTest, OfVersion6ThatOnlyTheResolverReadsHasNoBytesAndSaysSo) {
    const LogCapture log;
    const IpAddress address = IpAddress::createIpAddress("fe80::1%1");
    EXPECT_TRUE(address.isIpv6Address());
    EXPECT_THAT(address.getBytes(), IsEmpty());
    EXPECT_THAT(log.linesOf("zeb.ip"),
                ElementsAre("inet_pton unable to populate sockAddr.sin6_addr, pton_retval: 0"));
}

TEST(IpAddressTest, CopiesAreIndependentWithAndWithoutKnownBytes) {
    IpAddress original = IpAddress::createIpAddress("10.1.2.3");
    const IpAddress before(original);
    original.getBytes();
    const IpAddress after(original);
    original = IpAddress::createIpAddress("10.4.5.6");
    EXPECT_THAT(before.getBytes(), ElementsAre(10, 1, 2, 3));
    EXPECT_THAT(after.getBytes(), ElementsAre(10, 1, 2, 3));
    EXPECT_THAT(original.getBytes(), ElementsAre(10, 4, 5, 6));
    original = after;
    EXPECT_THAT(original.getBytes(), ElementsAre(10, 1, 2, 3));
    const IpAddress& same = original;
    original = same;
    EXPECT_THAT(original.getBytes(), ElementsAre(10, 1, 2, 3));
    original = IpAddress();
    EXPECT_THAT(original.getBytes(), IsEmpty());
}

TEST(IpAddressTest, AgreesWithItsBytesAfterAMove) {
    IpAddress original = IpAddress::createIpAddress("10.1.2.3");
    original.getBytes();
    const IpAddress moved(std::move(original));
    EXPECT_THAT(moved.getBytes(), ElementsAre(10, 1, 2, 3));
    // NOLINTNEXTLINE(bugprone-use-after-move): what is left behind must still agree with itself
    EXPECT_EQ(original.isEmpty(), original.getBytes().empty());
}

TEST(IpAddressTest, KeepsItsBytesWhenADerivedOneIsCopiedIntoIt) {
    const IpAddress address = Ipv6Address::createIpv6Address("::1");
    EXPECT_TRUE(address.isIpv6Address());
    EXPECT_EQ(LOOPBACK_V6, address.getBytes());
}

TEST(IpAddressTest, MayBeAskedForItsBytesAndCopiedByManyThreadsAtOnce) {
    for (int round = 0; round < 50; ++round) {
        const IpAddress shared = IpAddress::createIpAddress("::1");
        std::vector<std::thread> readers;
        for (int reader = 0; reader < 4; ++reader) {
            readers.emplace_back([&shared] {
                EXPECT_EQ(LOOPBACK_V6, shared.getBytes());
                EXPECT_EQ(LOOPBACK_V6, IpAddress(shared).getBytes());
            });
        }
        for (std::thread& reader : readers) {
            reader.join();
        }
    }
}

}  // namespace
}  // namespace zeb::ip::test

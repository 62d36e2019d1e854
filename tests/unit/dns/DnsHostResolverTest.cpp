#include "dns/DnsHostResolver.h"
#include "dnsutils/DnsUtils.h"
#include "support/LogCapture.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::dns {
namespace {

/// What the DNS library answers in this executable, and what it was asked.
struct Script {
    DnsQueryResult::Result aResult = DnsQueryResult::SUCCESS;
    DnsQueryResult::Result aaaaResult = DnsQueryResult::SUCCESS;
    std::vector<ARecord> aRecords = {};
    std::vector<AAAARecord> aaaaRecords = {};
    std::vector<std::string> asked = {};
};

Script script;  // one test per process

}  // namespace

// A host that has a DNS library of its own provides it in just this way: these come before the shared
// library's.
DnsQueryResult::Result DnsUtils::executeARecordQuery(const std::string& name, std::vector<ARecord>& records) {
    script.asked.push_back("A " + name);
    records = script.aRecords;
    return script.aResult;
}

DnsQueryResult::Result DnsUtils::executeAAAARecordQuery(const std::string& name,
                                                        std::vector<AAAARecord>& records) {
    script.asked.push_back("AAAA " + name);
    records = script.aaaaRecords;
    return script.aaaaResult;
}

namespace {

using testing::ElementsAre;
using zeb::test::LogCapture;

const ARecord IPV4("host.example", "192.0.2.1", 60);
const AAAARecord IPV6("host.example", "2001:db8::1", 60);

class DnsHostResolverTest : public testing::Test {
protected:
    DnsHostResolverTest() { script = {}; }

    std::vector<std::string> lines() const { return log_.linesOf("zeb.dns"); }

    DnsHostResolver resolver_;
    const std::string about_ =
        "About to execute A record query for: " + ZEBLogger_replacePIIData("host.example");

private:
    LogCapture log_;
};

TEST_F(DnsHostResolverTest, AnIpv4AddressIsEnoughAndIpv6IsNotAskedFor) {
    script.aRecords = {IPV4, IPV4};
    EXPECT_TRUE(resolver_.isResolvable("host.example"));
    EXPECT_THAT(script.asked, ElementsAre("A host.example"));
    EXPECT_THAT(lines(), ElementsAre(about_, "A record query succeeded with record size: 2"));
}

TEST_F(DnsHostResolverTest, AnIpv6AddressIsEnoughAndIsAskedForSecond) {
    script.aResult = DnsQueryResult::NO_RECORDS;
    script.aaaaRecords = {IPV6};
    EXPECT_TRUE(resolver_.isResolvable("host.example"));
    EXPECT_THAT(script.asked, ElementsAre("A host.example", "AAAA host.example"));
    EXPECT_THAT(lines(),
                ElementsAre(about_, "A record query failed with result: NO_RECORDS and record size: 0",
                            "AAAA record query succeeded with record size: 1"));
}

TEST_F(DnsHostResolverTest, SuccessWithoutARecordDoesntCount) {
    EXPECT_FALSE(resolver_.isResolvable("host.example"));
    EXPECT_THAT(lines(), ElementsAre(about_, "A record query failed with result: SUCCESS and record size: 0",
                                     "AAAA record query failed with result: SUCCESS and record size: 0"));
}

TEST_F(DnsHostResolverTest, RecordsOfAFailedQueryDontCount) {
    script.aResult = DnsQueryResult::TIME_OUT;
    script.aRecords = {IPV4};
    script.aaaaResult = DnsQueryResult::NO_NETWORK;
    script.aaaaRecords = {IPV6};
    EXPECT_FALSE(resolver_.isResolvable("host.example"));
    EXPECT_THAT(lines(), ElementsAre(about_, "A record query failed with result: TIME_OUT and record size: 1",
                                     "AAAA record query failed with result: NO_NETWORK and record size: 1"));
}

TEST_F(DnsHostResolverTest, EveryFailureOfBothQueriesIsFalse) {
    for (int result = -1; result < 10; ++result) {
        script = {};
        script.aResult = script.aaaaResult = static_cast<DnsQueryResult::Result>(result);
        EXPECT_FALSE(resolver_.isResolvable("host.example")) << result;
        EXPECT_THAT(script.asked, ElementsAre("A host.example", "AAAA host.example"));
    }
}

TEST_F(DnsHostResolverTest, AnEmptyHostIsTheDnsLibrarysToJudge) {
    script.aResult = script.aaaaResult = DnsQueryResult::INVALID_NAME;
    EXPECT_FALSE(resolver_.isResolvable(""));
    EXPECT_THAT(script.asked, ElementsAre("A ", "AAAA "));
}

/// A host may derive its own.
class StubbornResolver : public DnsHostResolver {
public:
    bool isResolvable(const std::string& /*host*/) override { return true; }
};

TEST_F(DnsHostResolverTest, CanBeReplacedByADerivedOne) {
    StubbornResolver stubborn;
    DnsHostResolver& base = stubborn;
    EXPECT_TRUE(base.isResolvable("host.example"));
    EXPECT_TRUE(script.asked.empty());
}

}  // namespace
}  // namespace zeb::dns

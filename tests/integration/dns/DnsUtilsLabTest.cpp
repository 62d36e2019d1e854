#include "dns/DnsHostResolver.h"
#include "dnsutils/DnsUtils.h"
#include "dnsutils/ServiceResourceRecordSorter.h"
#include "support/Lab.h"
#include "support/OwnFile.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::dns {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using zeb::test::OwnFile;
using Clock = std::chrono::steady_clock;
using Result = DnsQueryResult::Result;

constexpr char SERVICE[] = "_edge._tls.corp.test";
constexpr char GOOD[] = "nameserver 127.0.0.53\n";
constexpr char REFUSING[] = "nameserver 127.0.0.54\n";
constexpr char DEAD[] = "nameserver 127.0.0.9\n";
constexpr char SILENT[] = "nameserver 192.0.2.7\n";
constexpr char UNROUTED[] = "nameserver 198.51.100.7\n";

/// The library as a host has it, with the system's settings and the lab's real name servers.
class DnsUtilsLabTest : public zeb::test::LabTest {
protected:
    void TearDown() override {
        DnsUtils::setTimeout(milliseconds(0));
        LabTest::TearDown();
    }

    void useResolver(const std::string& contents) { replace(resolver_, "/etc/resolv.conf", contents); }
    void useHosts(const std::string& contents) { replace(hosts_, "/etc/hosts", contents); }
    void useSources(const std::string& contents) { replace(sources_, "/etc/nsswitch.conf", contents); }

    Result queryServices(const std::string& name = SERVICE) {
        return DnsUtils::executeSRVRecordQuery(name, services_);
    }
    Result queryA(const std::string& name = "edge-a.corp.test") {
        return DnsUtils::executeARecordQuery(name, a_);
    }
    Result queryAaaa(const std::string& name = "edge-a.corp.test") {
        return DnsUtils::executeAAAARecordQuery(name, aaaa_);
    }

    std::vector<ServiceResourceRecord> services_;
    std::vector<ARecord> a_;
    std::vector<AAAARecord> aaaa_;
    std::unique_ptr<OwnFile> resolver_;
    std::unique_ptr<OwnFile> hosts_;
    std::unique_ptr<OwnFile> sources_;

private:
    /// The former one goes first: of two at one path the end of either uncovers the other.
    static void replace(std::unique_ptr<OwnFile>& file, const char* path, const std::string& contents) {
        file.reset();
        file = std::make_unique<OwnFile>(path, contents);
    }
};

// --- Every kind of answer ---------------------------------------------------------------------------------

TEST_F(DnsUtilsLabTest, ServiceRecordsHaveAllTheirFields) {
    ASSERT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    std::set<std::string> records;
    for (const auto& record : services_) {
        records.insert(std::to_string(record.getPriority()) + " " + std::to_string(record.getWeight()) + " " +
                       std::to_string(record.getPort()) + " " + record.getTarget() + " " +
                       std::to_string(record.getTtl()));
    }
    EXPECT_THAT(records,
                UnorderedElementsAre("10 60 443 edge-a.corp.test 60", "10 40 443 edge-b.corp.test 60",
                                     "20 0 8443 edge-c.corp.test 60"));
}

TEST_F(DnsUtilsLabTest, SortedServiceRecordsPutTheLowestPriorityFirstAndShareByWeight) {
    std::set<std::string> firsts;
    for (int run = 0; run < 200; ++run) {
        ASSERT_EQ(queryServices(), DnsQueryResult::SUCCESS);
        ServiceResourceRecordSorter(services_).sortRecords();
        ASSERT_THAT(services_, SizeIs(3));
        EXPECT_EQ(services_.back().getTarget(), "edge-c.corp.test");
        firsts.insert(services_.front().getTarget());
    }
    EXPECT_THAT(firsts, ElementsAre("edge-a.corp.test", "edge-b.corp.test"));
}

TEST_F(DnsUtilsLabTest, AddressesHaveTheirTimesToLive) {
    ASSERT_EQ(queryA(), DnsQueryResult::SUCCESS);
    ASSERT_THAT(a_, SizeIs(1));
    EXPECT_EQ(a_[0].getIP4Address(), "127.0.0.1");
    EXPECT_EQ(a_[0].getTtl(), 300U);
    ASSERT_EQ(queryAaaa("only-six.corp.test"), DnsQueryResult::SUCCESS);
    ASSERT_THAT(aaaa_, SizeIs(1));
    EXPECT_EQ(aaaa_[0].getIP6Address(), "2001:db8::6");
    EXPECT_EQ(aaaa_[0].getTtl(), 303U);
}

TEST_F(DnsUtilsLabTest, AnAliasIsFollowed) {
    ASSERT_EQ(queryA("alias.corp.test"), DnsQueryResult::SUCCESS);
    ASSERT_THAT(a_, SizeIs(1));
    EXPECT_EQ(a_[0].getName(), "edge-b.corp.test");
    EXPECT_EQ(a_[0].getIP4Address(), "127.0.0.2");
    EXPECT_EQ(a_[0].getTtl(), 77U) << "the alias's";
}

TEST_F(DnsUtilsLabTest, AnAnswerThatIsTooLargeForUdpIsWhole) {
    ASSERT_EQ(queryServices("_many._tcp.corp.test"), DnsQueryResult::SUCCESS);
    std::set<unsigned int> ports;
    for (const auto& record : services_) {
        ports.insert(record.getPort());
    }
    EXPECT_THAT(ports, SizeIs(60));
    EXPECT_EQ(*ports.begin(), 1001U);
    EXPECT_EQ(*ports.rbegin(), 1060U);
}

TEST_F(DnsUtilsLabTest, NoDataNoNameAndNoServiceAreToldApart) {
    EXPECT_EQ(queryServices("text.corp.test"), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryA("text.corp.test"), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryAaaa("text.corp.test"), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryServices("_none._tcp.corp.test"), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryServices("_nothing._tcp.corp.test"), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryA("nothing.corp.test"), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryAaaa("nothing.corp.test"), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
}

TEST_F(DnsUtilsLabTest, AHostResolvesByEitherFamily) {
    DnsHostResolver resolver;
    EXPECT_TRUE(resolver.isResolvable("edge-a.corp.test"));
    EXPECT_TRUE(resolver.isResolvable("only-six.corp.test"));
    EXPECT_TRUE(resolver.isResolvable("localhost"));
    EXPECT_TRUE(resolver.isResolvable("192.0.2.1"));
    EXPECT_TRUE(resolver.isResolvable("::1"));
    EXPECT_FALSE(resolver.isResolvable("text.corp.test"));
    EXPECT_FALSE(resolver.isResolvable("nothing.corp.test"));
    EXPECT_FALSE(resolver.isResolvable(""));
}

// --- Every kind of failure --------------------------------------------------------------------------------

TEST_F(DnsUtilsLabTest, AServerThatRefusesIsAFailureOfTheServer) {
    useResolver(REFUSING);
    EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE);
    EXPECT_EQ(queryA(), DnsQueryResult::SERVER_FAILURE);
    EXPECT_EQ(queryAaaa(), DnsQueryResult::SERVER_FAILURE);
}

TEST_F(DnsUtilsLabTest, AServerThatIsNotThereIsAFailureOfTheServer) {
    useResolver(DEAD);
    EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE);
    EXPECT_EQ(queryA(), DnsQueryResult::SERVER_FAILURE);
}

TEST_F(DnsUtilsLabTest, AServerThatIsSilentIsATimeOut) {
    useResolver(SILENT);
    DnsUtils::setTimeout(milliseconds(200));
    const auto begin = Clock::now();
    EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
    EXPECT_EQ(queryA(), DnsQueryResult::TIME_OUT);
    EXPECT_EQ(queryAaaa(), DnsQueryResult::TIME_OUT);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(3));
}

TEST_F(DnsUtilsLabTest, SeveralDomainsToSearchTakeNoLongerThanOne) {
    useResolver(SILENT + std::string("search a.test b.test c.test d.test\n"));
    DnsUtils::setTimeout(milliseconds(200));
    const auto begin = Clock::now();
    EXPECT_EQ(queryA("short"), DnsQueryResult::TIME_OUT);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(DnsUtilsLabTest, AServerToWhichNoWayLeadsIsNoNetwork) {
    useResolver(UNROUTED);
    EXPECT_EQ(queryServices(), DnsQueryResult::NO_NETWORK);
    EXPECT_EQ(queryA(), DnsQueryResult::NO_NETWORK);
    EXPECT_EQ(queryAaaa(), DnsQueryResult::NO_NETWORK);
}

TEST_F(DnsUtilsLabTest, AMachineWithoutANetworkHasNone) {
    useResolver(std::string(GOOD) + REFUSING + UNROUTED);
    std::thread([this] {
        zeb::test::leaveTheNetwork();  // this thread alone
        EXPECT_EQ(queryServices(), DnsQueryResult::NO_NETWORK);
        EXPECT_EQ(queryA(), DnsQueryResult::NO_NETWORK);
        EXPECT_EQ(queryAaaa(), DnsQueryResult::NO_NETWORK);
        EXPECT_EQ(queryA("localhost"), DnsQueryResult::SUCCESS) << "that needs none";
    }).join();
}

TEST_F(DnsUtilsLabTest, AMachineWithoutAServerToAskHasNoNetwork) {
    for (const char* contents :
         {"", "# nothing\n", "search corp.test\n", "nameserver\n", "nameserver nonsense\n",
          "#nameserver 127.0.0.53\n", "; nameserver 127.0.0.53\n"}) {
        useResolver(contents);
        EXPECT_EQ(queryServices(), DnsQueryResult::NO_NETWORK) << contents;
        EXPECT_EQ(queryA(), DnsQueryResult::NO_NETWORK) << contents;
    }
}

TEST_F(DnsUtilsLabTest, NoWayToOneServerAndARefusalOfTheOtherIsAFailureOfTheServer) {
    useResolver(UNROUTED + std::string(REFUSING));
    EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE);
    useResolver(DEAD + std::string(UNROUTED));
    EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE);
}

TEST_F(DnsUtilsLabTest, NoWayToOneServerAndSilenceOfTheOtherIsATimeOut) {
    DnsUtils::setTimeout(milliseconds(200));
    useResolver(UNROUTED + std::string(SILENT));
    EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
    EXPECT_EQ(queryA(), DnsQueryResult::TIME_OUT);
    resolver_->write(SILENT + std::string(UNROUTED));
    EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
    EXPECT_EQ(queryA(), DnsQueryResult::TIME_OUT);
}

// --- Several servers, and settings that change ------------------------------------------------------------

TEST_F(DnsUtilsLabTest, TheNextServerHelpsWhateverIsWrongWithTheFirst) {
    DnsUtils::setTimeout(milliseconds(900));
    for (const char* first : {REFUSING, DEAD, SILENT, UNROUTED}) {
        useResolver(first + std::string(GOOD));
        EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS) << first;
        EXPECT_EQ(queryA(), DnsQueryResult::SUCCESS) << first;
        EXPECT_EQ(queryAaaa("only-six.corp.test"), DnsQueryResult::SUCCESS) << first;
    }
}

TEST_F(DnsUtilsLabTest, AChangeOfTheResolversSettingsCountsFromTheNextQueryOn) {
    useResolver(DEAD);
    EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE);
    resolver_->write(GOOD);
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    resolver_->write(UNROUTED);
    EXPECT_EQ(queryServices(), DnsQueryResult::NO_NETWORK);
    resolver_->write("");
    EXPECT_EQ(queryServices(), DnsQueryResult::NO_NETWORK);
    resolver_->write(GOOD);
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
}

TEST_F(DnsUtilsLabTest, TheSearchListCompletesAHostAndNeverAServiceOrANameWithADotAtItsEnd) {
    useResolver(GOOD + std::string("search other.test corp.test\n"));
    ASSERT_EQ(queryA("edge-b"), DnsQueryResult::SUCCESS);
    EXPECT_EQ(a_.at(0).getIP4Address(), "127.0.0.2");
    EXPECT_EQ(queryA("edge-b."), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryServices("_edge._tls"), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryA("nothing"), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryAaaa("edge-b"), DnsQueryResult::NO_RECORDS) << "one of the names exists";
}

TEST_F(DnsUtilsLabTest, TheServersOfTheHostTakeThePlaceOfTheSystems) {
    useResolver(DEAD);
    ASSERT_TRUE(DnsUtils::setNameServers("198.51.100.7,127.0.0.53:53"));
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    ASSERT_TRUE(DnsUtils::setNameServers(""));
    EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE);
}

// --- The hosts file ---------------------------------------------------------------------------------------

TEST_F(DnsUtilsLabTest, TheHostsFileComesBeforeDnsAndHasNoTimesToLive) {
    useHosts(
        "192.0.2.55 edge-a.corp.test first\n2001:db8::55 edge-a.corp.test\n192.0.2.56 edge-a.corp.test\n");
    useResolver(DEAD);
    ASSERT_EQ(queryA(), DnsQueryResult::SUCCESS);
    std::set<std::string> addresses;
    for (const auto& record : a_) {
        addresses.insert(record.getIP4Address());
        EXPECT_EQ(record.getTtl(), 0U);
    }
    EXPECT_THAT(addresses, ElementsAre("192.0.2.55", "192.0.2.56"));
    EXPECT_EQ(queryA("FIRST"), DnsQueryResult::SUCCESS);
    EXPECT_EQ(queryA("edge-a.corp.test."), DnsQueryResult::SUCCESS);
    ASSERT_EQ(queryAaaa(), DnsQueryResult::SUCCESS);
    EXPECT_EQ(aaaa_.at(0).getIP6Address(), "2001:db8::55");
    EXPECT_EQ(queryServices("edge-a.corp.test"), DnsQueryResult::SERVER_FAILURE) << "DNS alone has those";
}

TEST_F(DnsUtilsLabTest, TheHostsFileComesFirstWhateverServiceTheSystemAsksInPlaceOfDns) {
    useHosts("192.0.2.55 edge-a.corp.test\n");
    for (const char* sources :
         {"hosts: files dns\n", "hosts:files\tmdns4_minimal [NOTFOUND=return] dns\n",
          "passwd: files\n hosts: mymachines resolve [!UNAVAIL=return] files myhostname dns # as ever\n",
          "hosts: resolve [!UNAVAIL=return] dns\n", "hosts: files\n", "hosts: myhostname\n", "# hosts: dns\n",
          ""}) {
        useSources(sources);
        EXPECT_EQ(queryA(), DnsQueryResult::SUCCESS) << sources;
        ASSERT_THAT(a_, SizeIs(1)) << sources;
        EXPECT_EQ(a_[0].getIP4Address(), "192.0.2.55") << sources;
    }
}

TEST_F(DnsUtilsLabTest, TheSystemMayPutDnsBeforeTheHostsFileOrLeaveOneOfThemOut) {
    useHosts("192.0.2.55 edge-a.corp.test\n192.0.2.56 nothing.corp.test\n");
    useSources("networks: resolve files\nhosts: dns files # resolve\n");
    ASSERT_EQ(queryA(), DnsQueryResult::SUCCESS);
    EXPECT_EQ(a_.at(0).getIP4Address(), "127.0.0.1");
    ASSERT_EQ(queryA("nothing.corp.test"), DnsQueryResult::SUCCESS);
    EXPECT_EQ(a_.at(0).getIP4Address(), "192.0.2.56");
    sources_->write("hosts: dns\n");
    EXPECT_EQ(queryA("nothing.corp.test"), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    sources_->write("hosts: files\n");
    EXPECT_EQ(queryA("nothing.corp.test"), DnsQueryResult::SUCCESS);
    EXPECT_NE(queryA("edge-b.corp.test"), DnsQueryResult::SUCCESS);
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS) << "DNS alone has those";
}

TEST_F(DnsUtilsLabTest, LocalhostNeedsNeitherAHostsFileNorDns) {
    useHosts("");
    useResolver(DEAD);
    ASSERT_EQ(queryA("localhost"), DnsQueryResult::SUCCESS);
    EXPECT_EQ(a_.at(0).getIP4Address(), "127.0.0.1");
    ASSERT_EQ(queryAaaa("x.localhost."), DnsQueryResult::SUCCESS);
    EXPECT_EQ(aaaa_.at(0).getIP6Address(), "::1");
}

TEST_F(DnsUtilsLabTest, TheHostsFileMaySendALocalNameElsewhere) {
    useHosts("127.0.0.77 app.localhost\n");
    ASSERT_EQ(queryA("app.localhost"), DnsQueryResult::SUCCESS);
    EXPECT_EQ(a_.at(0).getIP4Address(), "127.0.0.77");
}

// --- Threads ----------------------------------------------------------------------------------------------

TEST_F(DnsUtilsLabTest, ManyThreadsAskAtTheSameTime) {
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([&good] {
            for (int query = 0; query < 20; ++query) {
                std::vector<ServiceResourceRecord> services;
                std::vector<ARecord> addresses;
                good += DnsUtils::executeSRVRecordQuery(SERVICE, services) == DnsQueryResult::SUCCESS ? 1 : 0;
                good += DnsUtils::executeARecordQuery("nothing.corp.test", addresses) ==
                                DnsQueryResult::DOMAIN_DOES_NOT_EXIST
                            ? 1
                            : 0;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, 320);
}

}  // namespace
}  // namespace zeb::dns

#include "dnsutils/ServiceResourceRecordSorter.h"

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::dns {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Records = std::vector<ServiceResourceRecord>;

std::vector<std::string> targetsOf(const Records& records) {
    std::vector<std::string> targets;
    for (const auto& record : records) {
        targets.push_back(record.getTarget());
    }
    return targets;
}

/// Answers those numbers, one after the other, and remembers what it was asked for.
struct HeldNumbers {
    std::vector<std::uint64_t> numbers;
    std::vector<std::uint64_t> greatest = {};

    ServiceResourceRecordSorter::RandomNumber source() {
        return [this](std::uint64_t most) {
            greatest.push_back(most);
            return numbers.at(greatest.size() - 1);
        };
    }
};

std::vector<std::string> sortedBy(HeldNumbers& held, Records records) {
    ServiceResourceRecordSorter(records, held.source()).sortRecords();
    return targetsOf(records);
}

TEST(ServiceResourceRecordTest, HoldsWhatItIsGivenAndIsAPlainValue) {
    const ServiceResourceRecord record(10, 60, 443, "edge.example", 300);
    ServiceResourceRecord copy(0, 0, 0, "");
    EXPECT_EQ(copy.getTtl(), 0U);
    copy = record;
    EXPECT_EQ(copy.getPriority(), 10U);
    EXPECT_EQ(copy.getWeight(), 60U);
    EXPECT_EQ(copy.getPort(), 443U);
    EXPECT_EQ(copy.getTarget(), "edge.example");
    EXPECT_EQ(copy.getTtl(), 300U);
}

TEST(ServiceResourceRecordSorterTest, AnEmptyVectorStaysEmpty) {
    Records records;
    ServiceResourceRecordSorter(records).sortRecords();
    EXPECT_THAT(records, IsEmpty());
}

TEST(ServiceResourceRecordSorterTest, TheLowerPriorityComesFirstWhateverTheWeights) {
    for (int run = 0; run < 100; ++run) {
        Records records{{30, 60000, 1, "c"}, {10, 0, 1, "a"}, {20, 1, 1, "b"}, {65535, 9, 1, "d"}};
        ServiceResourceRecordSorter(records).sortRecords();
        ASSERT_THAT(targetsOf(records), ElementsAre("a", "b", "c", "d"));
    }
}

TEST(ServiceResourceRecordSorterTest, RecordsWithoutWeightKeepTheirOrder) {
    Records records{{5, 0, 1, "x"}, {5, 0, 2, "y"}, {5, 0, 3, "z"}, {5, 0, 4, "x"}};
    ServiceResourceRecordSorter(records).sortRecords();
    EXPECT_THAT(targetsOf(records), ElementsAre("x", "y", "z", "x"));
}

TEST(ServiceResourceRecordSorterTest, TheFirstWhoseRunningSumReachesTheNumberIsChosen) {
    const Records records{{1, 10, 1, "a"}, {1, 20, 1, "b"}, {1, 70, 1, "c"}};
    HeldNumbers lowest{{0, 0, 0}};
    EXPECT_THAT(sortedBy(lowest, records), ElementsAre("a", "b", "c"));
    EXPECT_THAT(lowest.greatest, ElementsAre(100U, 90U, 70U));
    HeldNumbers edge{{10, 20, 70}};
    EXPECT_THAT(sortedBy(edge, records), ElementsAre("a", "b", "c"));
    HeldNumbers beyond{{11, 11, 70}};
    EXPECT_THAT(sortedBy(beyond, records), ElementsAre("b", "c", "a")) << "a 10, c 80";
    HeldNumbers highest{{100, 30, 10}};
    EXPECT_THAT(sortedBy(highest, records), ElementsAre("c", "b", "a"));
    EXPECT_THAT(highest.greatest, ElementsAre(100U, 30U, 10U));
}

TEST(ServiceResourceRecordSorterTest, ARecordOfWeightZeroIsFirstOnlyWhenTheNumberIsZero) {
    const Records records{{1, 5, 1, "heavy"}, {1, 0, 1, "light"}};
    HeldNumbers zero{{0, 0}};
    EXPECT_THAT(sortedBy(zero, records), ElementsAre("light", "heavy"));
    HeldNumbers one{{1, 0}};
    EXPECT_THAT(sortedBy(one, records), ElementsAre("heavy", "light"));
}

TEST(ServiceResourceRecordSorterTest, EachPriorityDrawsForItself) {
    HeldNumbers held{{3, 0, 8, 0}};
    EXPECT_THAT(sortedBy(held, {{2, 4, 1, "c"}, {1, 1, 1, "a"}, {2, 4, 1, "d"}, {1, 2, 1, "b"}}),
                ElementsAre("b", "a", "d", "c"));
    EXPECT_THAT(held.greatest, ElementsAre(3U, 1U, 8U, 4U));
}

TEST(ServiceResourceRecordSorterTest, ANumberBeyondTheGreatestCountsAsTheGreatest) {
    HeldNumbers held{{std::numeric_limits<std::uint64_t>::max(), 1000}};
    EXPECT_THAT(sortedBy(held, {{1, 1, 1, "a"}, {1, 1, 1, "b"}}), ElementsAre("b", "a"));
}

TEST(ServiceResourceRecordSorterTest, TheGreatestWeightsDontOverflow) {
    constexpr unsigned int MOST = std::numeric_limits<unsigned int>::max();
    HeldNumbers held{{2ULL * MOST, 0, 0}};
    EXPECT_THAT(sortedBy(held, {{MOST, MOST, 1, "a"}, {MOST, MOST, 1, "b"}, {0, 0, 1, "c"}}),
                ElementsAre("c", "a", "b"));
    EXPECT_THAT(held.greatest, ElementsAre(0U, 2ULL * MOST, MOST));
}

TEST(ServiceResourceRecordSorterTest, AnEmptySourceIsTheSortersOwn) {
    Records records{{1, 1, 1, "a"}, {1, 1, 1, "b"}};
    ServiceResourceRecordSorter(records, nullptr).sortRecords();
    EXPECT_THAT(targetsOf(records), UnorderedElementsAre("a", "b"));
}

TEST(ServiceResourceRecordSorterTest, NothingIsLostAndNothingDoubled) {
    Records records;
    for (unsigned int number = 0; number < 2000; ++number) {
        records.emplace_back(number % 3, number % 7, number, "h" + std::to_string(number), number);
    }
    ServiceResourceRecordSorter(records).sortRecords();
    std::map<unsigned int, int> ports;
    unsigned int priority = 0;
    for (const auto& record : records) {
        EXPECT_GE(record.getPriority(), priority);
        priority = record.getPriority();
        EXPECT_EQ(record.getTarget(), "h" + std::to_string(record.getPort()));
        EXPECT_EQ(record.getTtl(), record.getPort());
        ++ports[record.getPort()];
    }
    EXPECT_EQ(ports.size(), 2000U);
}

/// How often each target is first, of `runs`.
std::map<std::string, int> countFirsts(const Records& original, int runs) {
    std::map<std::string, int> firsts;
    for (int run = 0; run < runs; ++run) {
        Records records = original;
        ServiceResourceRecordSorter(records).sortRecords();
        ++firsts[records.front().getTarget()];
    }
    return firsts;
}

/// The bounds are five standard deviations away: a sound sorter leaves them once in a million times.
void expectShare(int count, int runs, double share) {
    const double deviation = std::sqrt(runs * share * (1 - share));
    EXPECT_NEAR(count, runs * share, 5 * deviation);
}

TEST(ServiceResourceRecordSorterTest, TheWeightsAreTheSharesOfBeingFirst) {
    constexpr int RUNS = 40000;
    auto firsts =
        countFirsts({{1, 100, 1, "a"}, {1, 300, 1, "b"}, {1, 600, 1, "c"}, {1, 0, 1, "never, nearly"}}, RUNS);
    expectShare(firsts["a"], RUNS, 100.0 / 1001);
    expectShare(firsts["b"], RUNS, 300.0 / 1001);
    expectShare(firsts["c"], RUNS, 600.0 / 1001);
    expectShare(firsts["never, nearly"], RUNS, 1.0 / 1001);
}

TEST(ServiceResourceRecordSorterTest, TheSecondIsChosenByWeightAmongTheRest) {
    constexpr int RUNS = 40000;
    std::map<std::string, int> orders;
    for (int run = 0; run < RUNS; ++run) {
        Records records{{1, 1000, 1, "a"}, {1, 2000, 1, "b"}, {1, 7000, 1, "c"}};
        ServiceResourceRecordSorter(records).sortRecords();
        ++orders[records[0].getTarget() + records[1].getTarget()];
    }
    expectShare(orders["cb"], RUNS, 0.7 * 2 / 3);
    expectShare(orders["ca"], RUNS, 0.7 / 3);
    expectShare(orders["bc"], RUNS, 0.2 * 7 / 8);
    expectShare(orders["ba"], RUNS, 0.2 / 8);
}

TEST(ServiceResourceRecordSorterTest, ThreadsSortTheirOwnVectorsAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([] {
            for (int run = 0; run < 200; ++run) {
                Records records{{1, 1, 1, "a"}, {1, 1, 1, "b"}, {0, 1, 1, "c"}};
                ServiceResourceRecordSorter(records).sortRecords();
                EXPECT_EQ(records.front().getTarget(), "c");
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
}

}  // namespace
}  // namespace zeb::dns

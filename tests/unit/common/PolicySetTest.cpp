#include "common/PolicySet.h"
#include "support/LogCapture.h"
#include "unit/common/TestPolicies.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::common {
namespace {

using test::named;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using N = Policy::PolicyNature;

TEST(PolicySetTest, AnEmptySetAnswersWithTheUnknownPolicy) {
    const zeb::test::LogCapture log;
    const PolicySet set;
    EXPECT_EQ(Policy::UNKNOWN_POLICY, set.getPolicy(N::EDGE_USAGE));
    EXPECT_EQ(N::UNKNOWN, set.getPolicy(N::EDGE_USAGE)->getNature());
    EXPECT_EQ("UNKNOWN", set.getPolicy(N::EDGE_USAGE)->getName());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, "Policy not found with nature EDGE_USAGE"));
}

TEST(PolicySetTest, AnEmptySetVerifiesWithSuccess) {
    const PolicySet::VerifyPoliciesResult result = PolicySet().verifyInputIndependentPolicies();
    EXPECT_TRUE(result.success);
    EXPECT_THAT(result.failedPolicies, IsEmpty());
}

TEST(PolicySetTest, TheLaterPolicyOfANatureReplacesTheEarlier) {
    PolicySet set;
    const auto first = named(N::EDGE_USAGE, "first");
    const auto second = named(N::EDGE_USAGE, "second");
    set.addPolicy(first);
    set.addPolicy(second);
    EXPECT_EQ(second, set.getPolicy(N::EDGE_USAGE));
    EXPECT_THAT(set.getAll(), ElementsAre(second));
}

TEST(PolicySetTest, NullIsIgnored) {
    PolicySet set;
    set.addPolicy(nullptr);
    set.addAll({nullptr});
    EXPECT_THAT(set.getAll(), IsEmpty());
    EXPECT_FALSE(set.contains(nullptr));
}

TEST(PolicySetTest, RemovesByNatureAndLogsIt) {
    const zeb::test::LogCapture log;
    PolicySet set;
    set.addPolicy(named(N::EDGE_USAGE, "edge"));
    set.addPolicy(named(N::COMMON_CRITERIA_USAGE, "criteria"));
    set.removePolicy(N::COMMON_CRITERIA_USAGE);
    EXPECT_EQ("EDGE_USAGE[edge]", set.toString());
    EXPECT_TRUE(log.contains(ZEBLOG_DEBUG, "Removing a policy with nature 8"));
}

TEST(PolicySetTest, RemovingAnAbsentNatureChangesNothingAndIsLoggedToo) {
    const zeb::test::LogCapture log;
    PolicySet set;
    set.addPolicy(named(N::EDGE_USAGE, "edge"));
    set.removePolicy(N::UNKNOWN);
    EXPECT_EQ("EDGE_USAGE[edge]", set.toString());
    EXPECT_TRUE(log.contains("Removing a policy with nature UNKNOWN"));
}

TEST(PolicySetTest, RemoveAllClears) {
    PolicySet set;
    set.addPolicy(named(N::EDGE_USAGE, "edge"));
    set.removeAll();
    EXPECT_THAT(set.getAll(), IsEmpty());
}

TEST(PolicySetTest, ResetForTestingClears) {
    PolicySet set;
    set.addPolicy(named(N::EDGE_USAGE, "edge"));
    set.resetForTesting();
    EXPECT_THAT(set.getAll(), IsEmpty());
}

TEST(PolicySetTest, AddAllAddsInTheOrderOfTheSet) {
    PolicySet set;
    const auto one = named(N::EDGE_USAGE, "one");
    const auto two = named(N::EDGE_USAGE, "two");
    const auto other = named(N::EDGE_CAPABILITY, "other");
    const PolicySet::Policies policies{one, two, other};
    set.addAll(policies);
    const auto lastOfNature = one.get() < two.get() ? two : one;
    EXPECT_EQ(lastOfNature, set.getPolicy(N::EDGE_USAGE));
    EXPECT_EQ(other, set.getPolicy(N::EDGE_CAPABILITY));
}

TEST(PolicySetTest, ContainsAsksForNatureAndEquality) {
    PolicySet set;
    set.addPolicy(named(N::EDGE_USAGE, "edge"));
    EXPECT_TRUE(set.contains(named(N::EDGE_USAGE, "edge")));
    EXPECT_FALSE(set.contains(named(N::EDGE_USAGE, "other")));
    EXPECT_FALSE(set.contains(named(N::EDGE_CAPABILITY, "edge")));
}

TEST(PolicySetTest, TheTextListsNatureAndNameInTheOrderOfNatures) {
    PolicySet set;
    EXPECT_EQ("", set.toString());
    set.addPolicy(named(N::COMMON_CRITERIA_USAGE, "c"));
    set.addPolicy(named(N::SYSTEM_PROXY_USAGE, "b"));
    set.addPolicy(named(N::EDGE_USAGE, "a"));
    EXPECT_EQ("EDGE_USAGE[a], SYSTEM_PROXY_USAGE[b], 8[c]", set.toString());
}

TEST(PolicySetTest, VerificationAsksEveryInputIndependentPolicyThoughOneFails) {
    const zeb::test::LogCapture log;
    PolicySet set;
    const auto failed = named(N::EDGE_USAGE, "a", false);
    const auto passed = named(N::EDGE_CAPABILITY, "b", true);
    const auto failedToo = named(N::SYSTEM_PROXY_USAGE, "c", false);
    set.addAll({failed, passed, failedToo});
    const PolicySet::VerifyPoliciesResult result = set.verifyInputIndependentPolicies();
    EXPECT_FALSE(result.success);
    EXPECT_THAT(result.failedPolicies, UnorderedElementsAre(failed, failedToo));
    EXPECT_EQ(1, failed->asked);
    EXPECT_EQ(1, passed->asked);
    EXPECT_EQ(1, failedToo->asked);
    EXPECT_THAT(log.linesOf("zeb.common"), ElementsAre("Enforceability check  failed"));
}

TEST(PolicySetTest, VerificationLeavesOutPoliciesThatNeedInputOrHaveNothingToAsk) {
    const zeb::test::LogCapture log;
    PolicySet set;
    set.addPolicy(std::make_shared<Policy>(N::INVALID_CERT_MANAGEMENT, false));
    set.addPolicy(Policy::UNKNOWN_POLICY);
    EXPECT_TRUE(set.verifyInputIndependentPolicies().success);
    EXPECT_THAT(log.linesOf("zeb.common"), ElementsAre("Enforceability check  succeeded"));
}

TEST(PolicySetTest, AssignmentCopiesThePolicies) {
    PolicySet source;
    source.addPolicy(named(N::EDGE_USAGE, "edge"));
    PolicySet destination;
    destination.addPolicy(named(N::EDGE_CAPABILITY, "gone"));
    destination = source;
    source.removeAll();
    EXPECT_EQ("EDGE_USAGE[edge]", destination.toString());
    const PolicySet& itself = destination;
    destination = itself;
    EXPECT_EQ("EDGE_USAGE[edge]", PolicySet(destination).toString());
}

TEST(PolicySetTest, AReplacedPolicyLivesOnWithItsHolder) {
    PolicySet set;
    set.addPolicy(named(N::EDGE_USAGE, "held"));
    const auto held = set.getPolicy(N::EDGE_USAGE);
    set.addPolicy(named(N::EDGE_USAGE, "new"));
    EXPECT_EQ("held", held->getName());
}

TEST(PolicySetTest, ThreadsReadAndWriteAtTheSameTime) {
    PolicySet set;
    const auto edge = named(N::EDGE_USAGE, "edge");
    const auto proxy = named(N::SYSTEM_PROXY_USAGE, "proxy");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                set.addAll({edge, proxy});
                set.removePolicy(N::EDGE_USAGE);
            }
        });
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                EXPECT_NE(nullptr, set.getPolicy(N::EDGE_USAGE));
                EXPECT_LE(set.getAll().size(), 2U);
                set.contains(proxy);
                set.toString();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ("SYSTEM_PROXY_USAGE[proxy]", set.toString());
}

TEST(PolicySetTest, NoThreadSeesAPartOfWhatAddAllAdds) {
    PolicySet::Policies policies;
    for (int nature = N::EDGE_USAGE; nature <= N::UNKNOWN; ++nature) {
        policies.insert(named(static_cast<N::Nature>(nature), "x"));
    }
    PolicySet set;
    std::atomic<bool> done{false};
    std::atomic<int> looks{0};
    int parts = 0;
    std::thread reader([&] {
        for (; !done; ++looks) {
            const std::size_t size = set.getAll().size();
            parts += size != 0 && size != policies.size() ? 1 : 0;
        }
    });
    // Until the reader has looked often enough to have met a part, were there one to be seen.
    while (looks < 2000) {
        set.addAll(policies);
        set.removeAll();
    }
    done = true;
    reader.join();
    EXPECT_EQ(0, parts);
}

TEST(VerifyPoliciesResultTest, IsNoSuccessAtConstruction) {
    EXPECT_FALSE(PolicySet::VerifyPoliciesResult().success);
}

TEST(VerifyPoliciesResultTest, MergingIsSuccessOnlyOfTwoSuccesses) {
    for (const bool left : {false, true}) {
        for (const bool right : {false, true}) {
            PolicySet::VerifyPoliciesResult one;
            PolicySet::VerifyPoliciesResult two;
            one.success = left;
            two.success = right;
            one.merge(two);
            EXPECT_EQ(left && right, one.success);
            EXPECT_EQ(right, two.success);
        }
    }
}

TEST(VerifyPoliciesResultTest, MergingJoinsTheFailuresToThisOneOnly) {
    const auto a = named(N::EDGE_USAGE, "a");
    const auto b = named(N::EDGE_CAPABILITY, "b");
    PolicySet::VerifyPoliciesResult one;
    PolicySet::VerifyPoliciesResult two;
    one.failedPolicies = {a};
    two.failedPolicies = {a, b};
    one.merge(two);
    EXPECT_THAT(one.failedPolicies, UnorderedElementsAre(a, b));
    two.merge(two);
    EXPECT_THAT(two.failedPolicies, UnorderedElementsAre(a, b));
}

TEST(VerifyPoliciesResultTest, TwoThreadsMayMergeIntoEachOther) {
    PolicySet::VerifyPoliciesResult one;
    PolicySet::VerifyPoliciesResult two;
    one.failedPolicies = {named(N::EDGE_USAGE, "a")};
    two.failedPolicies = {named(N::EDGE_USAGE, "b")};
    std::atomic<int> ready{0};
    const auto mergeOften = [&ready](PolicySet::VerifyPoliciesResult& left,
                                     PolicySet::VerifyPoliciesResult& right) {
        for (++ready; ready != 2;) {
            std::this_thread::yield();
        }
        for (int round = 0; round < 200000; ++round) {
            left.merge(right);
        }
    };
    std::thread other([&] { mergeOften(one, two); });
    mergeOften(two, one);
    other.join();
    EXPECT_EQ(one.failedPolicies, two.failedPolicies);
}

TEST(VerifyPoliciesResultTest, CopyingAndAssigningTakeTheValues) {
    PolicySet::VerifyPoliciesResult source;
    source.success = true;
    source.failedPolicies = {named(N::EDGE_USAGE, "a")};
    const PolicySet::VerifyPoliciesResult copy(source);
    PolicySet::VerifyPoliciesResult assigned;
    assigned = copy;
    const PolicySet::VerifyPoliciesResult& itself = assigned;
    assigned = itself;
    EXPECT_TRUE(assigned.success);
    EXPECT_EQ(source.failedPolicies, assigned.failedPolicies);
}

}  // namespace
}  // namespace zeb::common

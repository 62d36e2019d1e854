#include "dnsutils/DnsUtils.h"
#include "dnsutils/DnsUtilsImpl.h"
#include "dnsutils/src/ResolverSettings.h"
#include "support/LoopbackDnsServer.h"
#include "support/Printed.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <future>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <memory>
#include <netinet/in.h>
#include <ostream>
#include <sstream>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::dns {

// What a failed comparison shows.
std::ostream& operator<<(std::ostream& stream, const ServiceResourceRecord& record) {
    return stream << record.getPriority() << " " << record.getWeight() << " " << record.getPort() << " "
                  << record.getTarget() << " " << record.getTtl();
}

namespace {

using namespace std::string_literals;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using zeb::test::DnsAnswer;
using zeb::test::DnsQuestion;
using zeb::test::LoopbackDnsServer;
using zeb::test::printed;
using Clock = std::chrono::steady_clock;
using Result = DnsQueryResult::Result;

constexpr char SERVICE[] = "_edge._tls.corp.example";
constexpr char HOST[] = "host.corp.example.";

/// A server's answer to everything; nothing: silence.
class DnsUtilsTest : public testing::Test {
protected:
    void TearDown() override {
        DnsUtils::setNameServers("");
        DnsUtils::setTimeout(milliseconds(0));
    }

    LoopbackDnsServer& serve(LoopbackDnsServer::Handler handler) {
        server_ = std::make_unique<LoopbackDnsServer>(std::move(handler));
        EXPECT_TRUE(DnsUtils::setNameServers(server_->authority()));
        return *server_;
    }

    Result queryServices(const std::string& name = SERVICE) {
        return DnsUtils::executeSRVRecordQuery(name, services_);
    }
    Result queryA(const std::string& name = HOST) { return DnsUtils::executeARecordQuery(name, a_); }
    Result queryAaaa(const std::string& name = HOST) { return DnsUtils::executeAAAARecordQuery(name, aaaa_); }

    std::vector<std::string> services() const {
        std::vector<std::string> texts;
        for (const auto& record : services_) {
            texts.push_back(printed(record));
        }
        return texts;
    }

    std::unique_ptr<LoopbackDnsServer> server_;
    std::vector<ServiceResourceRecord> services_{{9, 9, 9, "left from before"}};
    std::vector<ARecord> a_{{"left from before", "", 9}};
    std::vector<AAAARecord> aaaa_{{"left from before", "", 9}};
};

TEST(DnsQueryResultTest, TheValuesThatTheSystemKnowsHaveTheirNumbersAndAllHaveNames) {
    const std::vector<std::pair<int, std::string>> names{{0, "SUCCESS"},
                                                         {1, "NO_RECORDS"},
                                                         {2, "FAILURE"},
                                                         {3, "INVALID_NAME"},
                                                         {4, "TIME_OUT"},
                                                         {5, "DOMAIN_DOES_NOT_EXIST"},
                                                         {6, "SERVER_FAILURE"},
                                                         {7, "NO_NETWORK"},
                                                         {8, "8"},
                                                         {-1, "-1"}};
    for (const auto& [number, name] : names) {
        std::ostringstream stream;
        stream << static_cast<Result>(number);
        EXPECT_EQ(stream.str(), name);
    }
    EXPECT_EQ(DnsQueryResult::SUCCESS, 0);
    EXPECT_EQ(DnsQueryResult::NO_RECORDS, 1);
    EXPECT_EQ(DnsQueryResult::TIME_OUT, 4);
    EXPECT_EQ(DnsQueryResult::DOMAIN_DOES_NOT_EXIST, 5);
    EXPECT_EQ(DnsQueryResult::NO_NETWORK, 7);
}

// --- Good answers -----------------------------------------------------------------------------------------

TEST_F(DnsUtilsTest, ServiceRecordsComeInTheOrderOfTheAnswerWithTheirTimesToLive) {
    const auto& server = serve([](const DnsQuestion& question) {
        return DnsAnswer(question)
            .srv(20, 5, 443, "b.corp.example", 300)
            .srv(10, 65535, 65535, "a.corp.example", 0)
            .srv(0, 0, 0, "c.corp.example", 2147483647)
            .bytes();
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    EXPECT_THAT(services(), ElementsAre("20 5 443 b.corp.example 300", "10 65535 65535 a.corp.example 0",
                                        "0 0 0 c.corp.example 2147483647"));
    ASSERT_THAT(server.questions(), SizeIs(1));
    EXPECT_EQ(server.questions()[0].name, SERVICE);
    EXPECT_EQ(server.questions()[0].type, DnsQuestion::SRV);
}

TEST_F(DnsUtilsTest, Ipv4AddressesComeWithNameAndTimeToLive) {
    const auto& server = serve([](const DnsQuestion& question) {
        return DnsAnswer(question).a("192.0.2.1", 60).a("192.0.2.2", 0).bytes();
    });
    EXPECT_EQ(queryA(), DnsQueryResult::SUCCESS);
    ASSERT_THAT(a_, SizeIs(2));
    EXPECT_EQ(a_[0].getName(), "host.corp.example");
    EXPECT_EQ(a_[0].getIP4Address(), "192.0.2.1");
    EXPECT_EQ(a_[0].getTtl(), 60U);
    EXPECT_EQ(a_[1].getIP4Address(), "192.0.2.2");
    EXPECT_EQ(a_[1].getTtl(), 0U);
    ASSERT_THAT(server.questions(), SizeIs(1));
    EXPECT_EQ(server.questions()[0].name, "host.corp.example");
    EXPECT_EQ(server.questions()[0].type, DnsQuestion::A);
}

TEST_F(DnsUtilsTest, Ipv6AddressesComeWithNameAndTimeToLive) {
    const auto& server = serve([](const DnsQuestion& question) {
        return DnsAnswer(question).aaaa("64:ff9b::c000:aa", 86400).aaaa("2001:db8::1", 7).bytes();
    });
    EXPECT_EQ(queryAaaa(), DnsQueryResult::SUCCESS);
    ASSERT_THAT(aaaa_, SizeIs(2));
    EXPECT_EQ(aaaa_[0].getName(), "host.corp.example");
    EXPECT_EQ(aaaa_[0].getIP6Address(), "64:ff9b::c000:aa");
    EXPECT_EQ(aaaa_[0].getTtl(), 86400U);
    EXPECT_EQ(aaaa_[1].getIP6Address(), "2001:db8::1");
    ASSERT_THAT(server.questions(), SizeIs(1));
    EXPECT_EQ(server.questions()[0].type, DnsQuestion::AAAA);
}

TEST_F(DnsUtilsTest, AnAliasLeadsToTheAddressAndItsName) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question)
            .cname("real.corp.example", 9)
            .owner("real.corp.example")
            .a("192.0.2.7", 60)
            .bytes();
    });
    EXPECT_EQ(queryA(), DnsQueryResult::SUCCESS);
    ASSERT_THAT(a_, SizeIs(1));
    EXPECT_EQ(a_[0].getName(), "real.corp.example");
    EXPECT_EQ(a_[0].getIP4Address(), "192.0.2.7");
    EXPECT_EQ(a_[0].getTtl(), 9U) << "no longer than the alias";
}

TEST_F(DnsUtilsTest, AnAliasThatLivesLongerLeavesTheTimeToLiveAlone) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question)
            .cname("real.corp.example", 900)
            .owner("real.corp.example")
            .aaaa("2001:db8::7", 60)
            .aaaa("2001:db8::8", 61)
            .bytes();
    });
    EXPECT_EQ(queryAaaa(), DnsQueryResult::SUCCESS);
    ASSERT_THAT(aaaa_, SizeIs(2));
    EXPECT_EQ(aaaa_[0].getTtl(), 60U);
    EXPECT_EQ(aaaa_[1].getTtl(), 61U);
}

TEST_F(DnsUtilsTest, AnAliasLeadsToServiceRecords) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question)
            .cname("_real._tls.corp.example", 9)
            .owner("_real._tls.corp.example")
            .srv(1, 2, 3, "edge.corp.example", 4)
            .srv(1, 2, 3, "long.corp.example", 10)
            .bytes();
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    EXPECT_THAT(services(), ElementsAre("1 2 3 edge.corp.example 4", "1 2 3 long.corp.example 9"))
        << "no longer than the alias";
}

TEST_F(DnsUtilsTest, ATargetThatIsCompressedIsRead) {
    serve([](const DnsQuestion& question) {
        // "edge", and then the name at byte 23 of the question: what stands behind "_edge._tls."
        const std::string target = "\4edge\xc0\x17"s;
        return DnsAnswer(question)
            .record(DnsQuestion::SRV,
                    DnsAnswer::wire16(1) + DnsAnswer::wire16(2) + DnsAnswer::wire16(443) + target, 60)
            .bytes();
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    EXPECT_THAT(services(), ElementsAre("1 2 443 edge.corp.example 60"));
}

TEST_F(DnsUtilsTest, RecordsOfOtherTypesAmongTheAnswersAreLeftOut) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question)
            .record(DnsQuestion::TXT, "\3abc", 1)
            .srv(1, 1, 1, "edge.corp.example", 1)
            .a("192.0.2.1", 1)
            .bytes();
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    EXPECT_THAT(services(), ElementsAre("1 1 1 edge.corp.example 1"));
}

TEST_F(DnsUtilsTest, ARecordOfAnotherClassIsLeftOut) {
    serve([](const DnsQuestion& question) {
        std::string answer = DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1).bytes();
        const std::size_t endOfOwner = question.raw.size() + DnsAnswer::wireName(question.name).size();
        answer[endOfOwner + 3] = 3;  // behind the type
        return answer;
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::NO_RECORDS);
    EXPECT_THAT(services_, IsEmpty());
}

TEST_F(DnsUtilsTest, ATimeToLiveWithTheHighestBitCountsAsZero) {
    serve([](const DnsQuestion& question) {
        return (question.type == DnsQuestion::SRV
                    ? DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 0x80000000U)
                    : DnsAnswer(question).a("192.0.2.1", 0xffffffffU))
            .bytes();
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    EXPECT_THAT(services(), ElementsAre("1 1 1 edge.corp.example 0"));
    EXPECT_EQ(queryA(), DnsQueryResult::SUCCESS);
    ASSERT_THAT(a_, SizeIs(1));
    EXPECT_EQ(a_[0].getTtl(), 0U);
}

TEST_F(DnsUtilsTest, AnAnswerTooLargeForUdpIsFetchedOverTcp) {
    const auto& server = serve([](const DnsQuestion& question) {
        DnsAnswer answer(question);
        if (!question.overTcp) {
            return answer.truncated().bytes();
        }
        for (unsigned int number = 0; number < 1000; ++number) {
            answer.srv(number, 1, 443, "h" + std::to_string(number) + ".corp.example", 60);
        }
        return answer.bytes();
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    ASSERT_THAT(services_, SizeIs(1000));
    EXPECT_EQ(services_[999].getTarget(), "h999.corp.example");
    ASSERT_THAT(server.questions(), SizeIs(2));
    EXPECT_FALSE(server.questions()[0].overTcp);
    EXPECT_TRUE(server.questions()[1].overTcp);
}

TEST_F(DnsUtilsTest, ADotAtTheEndOfTheNameChangesNothing) {
    const auto& server = serve([](const DnsQuestion& question) {
        return DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1).bytes();
    });
    EXPECT_EQ(queryServices(SERVICE + "."s), DnsQueryResult::SUCCESS);
    EXPECT_THAT(services_, SizeIs(1));
    EXPECT_EQ(server.questions().at(0).name, SERVICE);
}

TEST_F(DnsUtilsTest, TheLongestNameAndTheLongestLabelAreAskedFor) {
    const auto& server = serve(
        [](const DnsQuestion& question) { return DnsAnswer(question).code(DnsAnswer::NXDOMAIN).bytes(); });
    const std::string label(63, 'a');
    const std::string longest = label + "." + label + "." + label + "." + std::string(61, 'b');
    ASSERT_EQ(longest.size(), 253U);
    EXPECT_EQ(queryServices(longest), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryA(longest + "."), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    ASSERT_THAT(server.questions(), SizeIs(2));
    EXPECT_EQ(server.questions()[0].name, longest);
    EXPECT_EQ(server.questions()[1].name, longest);
}

TEST_F(DnsUtilsTest, ANameInUtf8IsAskedForAsItIs) {
    const auto& server =
        serve([](const DnsQuestion& question) { return DnsAnswer(question).a("192.0.2.1", 1).bytes(); });
    EXPECT_EQ(queryA("b\xc3\xbcro.corp.example."), DnsQueryResult::SUCCESS);
    EXPECT_EQ(server.questions().at(0).name, "b\xc3\xbcro.corp.example");
}

// --- Answers that are no records --------------------------------------------------------------------------

TEST_F(DnsUtilsTest, AnAnswerWithoutARecordIsNoRecords) {
    serve([](const DnsQuestion& question) { return DnsAnswer(question).bytes(); });
    EXPECT_EQ(queryServices(), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryA(), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryAaaa(), DnsQueryResult::NO_RECORDS);
    EXPECT_THAT(services_, IsEmpty());
    EXPECT_THAT(a_, IsEmpty());
    EXPECT_THAT(aaaa_, IsEmpty());
}

TEST_F(DnsUtilsTest, ANameThatDoesNotExistIsToldFromOneWithoutRecords) {
    serve([](const DnsQuestion& question) { return DnsAnswer(question).code(DnsAnswer::NXDOMAIN).bytes(); });
    EXPECT_EQ(queryServices(), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryA(), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryAaaa(), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_THAT(services_, IsEmpty());
}

TEST_F(DnsUtilsTest, AliasesAloneAreNoRecords) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question).cname("elsewhere.example", 60).bytes();
    });
    EXPECT_EQ(queryServices(), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryA(), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryAaaa(), DnsQueryResult::NO_RECORDS);
}

TEST_F(DnsUtilsTest, ATargetThatIsTheRootSaysThatThereIsNoService) {
    serve([](const DnsQuestion& question) { return DnsAnswer(question).srv(0, 0, 0, "", 60).bytes(); });
    EXPECT_EQ(queryServices(), DnsQueryResult::NO_RECORDS);
    EXPECT_THAT(services_, IsEmpty());
}

// --- Failures ---------------------------------------------------------------------------------------------

TEST_F(DnsUtilsTest, AServerThatFailsOrRefusesIsAFailureOfTheServer) {
    for (const unsigned int code :
         {1U /* doesn't understand */, DnsAnswer::SERVFAIL, 4U /* not implemented */, DnsAnswer::REFUSED}) {
        serve([code](const DnsQuestion& question) { return DnsAnswer(question).code(code).bytes(); });
        EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE) << code;
        EXPECT_EQ(queryA(), DnsQueryResult::SERVER_FAILURE) << code;
        EXPECT_EQ(queryAaaa(), DnsQueryResult::SERVER_FAILURE) << code;
    }
}

TEST_F(DnsUtilsTest, APortWhereNobodyListensIsAFailureOfTheServer) {
    serve([](const DnsQuestion&) { return std::nullopt; });
    server_.reset();
    EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE);
    EXPECT_EQ(queryA(), DnsQueryResult::SERVER_FAILURE);
}

TEST_F(DnsUtilsTest, AServerThatIsSilentIsATimeOutAfterTheTimeThatWasSet) {
    serve([](const DnsQuestion&) { return std::nullopt; });
    DnsUtils::setTimeout(milliseconds(150));
    for (int query = 0; query < 2; ++query) {
        const auto begin = Clock::now();
        EXPECT_EQ(query == 0 ? queryServices() : queryA(), DnsQueryResult::TIME_OUT);
        const auto took = Clock::now() - begin;
        EXPECT_GE(took, milliseconds(100));
        EXPECT_LT(took, milliseconds(1500));
    }
}

TEST_F(DnsUtilsTest, AServerThatMissesTheFirstQuestionIsAskedAgain) {
    bool isFirst = true;
    serve([&isFirst](const DnsQuestion& question) -> std::optional<std::string> {
        if (isFirst) {
            isFirst = false;
            return std::nullopt;
        }
        return DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1).bytes();
    });
    DnsUtils::setTimeout(milliseconds(600));
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
}

TEST_F(DnsUtilsTest, ManySilentServersTakeNoLongerThanOne) {
    std::vector<std::unique_ptr<LoopbackDnsServer>> servers;
    std::string list;
    for (int number = 0; number < 20; ++number) {
        servers.push_back(
            std::make_unique<LoopbackDnsServer>([](const DnsQuestion&) { return std::nullopt; }));
        list += (list.empty() ? "" : ",") + servers.back()->authority();
    }
    ASSERT_TRUE(DnsUtils::setNameServers(list));
    DnsUtils::setTimeout(milliseconds(300));
    const auto begin = Clock::now();
    EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
    EXPECT_LT(Clock::now() - begin, milliseconds(1500));
    EXPECT_THAT(servers.back()->questions(), Not(IsEmpty())) << "the last was asked, too";
}

TEST_F(DnsUtilsTest, ATimeOutOverTcpIsATimeOut) {
    std::promise<void> over;
    serve([isOver = over.get_future().share()](const DnsQuestion& question) -> std::optional<std::string> {
        if (question.overTcp) {
            isOver.wait();
            return std::nullopt;
        }
        return DnsAnswer(question).truncated().bytes();
    });
    DnsUtils::setTimeout(milliseconds(150));
    EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
    over.set_value();
}

TEST_F(DnsUtilsTest, NonsenseInPlaceOfRecordsIsAFailureOfTheServer) {
    const std::string head = DnsAnswer::wire16(1) + DnsAnswer::wire16(2) + DnsAnswer::wire16(3);
    const std::string target = DnsAnswer::wireName("edge.corp.example");
    const std::vector<std::function<std::string(const DnsQuestion&)>> answers{
        // More records than there are.
        [](const auto& question) {
            return DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1).bytes(2);
        },
        [](const auto& question) { return DnsAnswer(question).bytes(1); },
        // A record that is shorter, or longer, than it says.
        [&](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::SRV, head + target, 1, 200).bytes();
        },
        [&](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::SRV, head + target, 1, 7).bytes();
        },
        [&](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::SRV, head + target + "junk", 1).bytes();
        },
        // One that has no room for what it must have.
        [&](const auto& question) { return DnsAnswer(question).record(DnsQuestion::SRV, "", 1).bytes(); },
        [&](const auto& question) { return DnsAnswer(question).record(DnsQuestion::SRV, head, 1).bytes(); },
        [&](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::SRV, head.substr(0, 5), 1).bytes();
        },
        // A name that points at itself, one that points beyond the end, and one of a kind that doesn't exist.
        [&](const auto& question) {
            const auto at = static_cast<unsigned int>(DnsAnswer(question).bytes().size() +
                                                      question.name.size() + 2 + 10 + head.size());
            return DnsAnswer(question)
                .record(DnsQuestion::SRV, head + DnsAnswer::wire16(0xc000U | at), 1)
                .bytes();
        },
        [&](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::SRV, head + "\xff\xff", 1).bytes();
        },
        [&](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::SRV, head + "\x80" + "abc", 1).bytes();
        },
        // A record of another type that says it is longer than the message.
        [](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::TXT, "abc", 1, 65535).bytes();
        },
    };
    for (std::size_t number = 0; number < answers.size(); ++number) {
        serve(answers[number]);
        EXPECT_EQ(queryServices(), DnsQueryResult::SERVER_FAILURE) << number;
        EXPECT_THAT(services_, IsEmpty()) << number;
    }
}

TEST_F(DnsUtilsTest, NonsenseInPlaceOfAddressesIsAFailureOfTheServer) {
    const std::vector<std::function<std::string(const DnsQuestion&)>> answers{
        [](const auto& question) { return DnsAnswer(question).a("192.0.2.1", 1).bytes(9); },
        [](const auto& question) {
            return DnsAnswer(question).record(DnsQuestion::A, "\1\2\3\4", 1, 200).bytes();
        },
    };
    for (std::size_t number = 0; number < answers.size(); ++number) {
        serve(answers[number]);
        EXPECT_EQ(queryA(), DnsQueryResult::SERVER_FAILURE) << number;
        EXPECT_THAT(a_, IsEmpty()) << number;
    }
}

TEST_F(DnsUtilsTest, AnAnswerToAnotherQuestionIsNoAnswer) {
    serve([](const DnsQuestion& question) {
        DnsQuestion other = question;
        other.raw[13] = 'X';  // a letter of the name
        return DnsAnswer(other).srv(1, 1, 1, "evil.example", 1).bytes();
    });
    DnsUtils::setTimeout(milliseconds(100));
    EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
    EXPECT_THAT(services_, IsEmpty());
}

TEST_F(DnsUtilsTest, AnAnswerOfAFewBytesIsNoAnswer) {
    serve([](const DnsQuestion& question) { return question.raw.substr(0, 5); });
    DnsUtils::setTimeout(milliseconds(100));
    EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
}

/// From now on the calling thread's system calls go through that filter.
template <std::size_t SIZE>
bool filterSystemCalls(sock_filter (&steps)[SIZE]) {
    const sock_fprog program{SIZE, steps};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

/// From now on a system call of the calling thread fails with that error, and does nothing.
bool failSystemCall(unsigned int call, unsigned int error) {
    const unsigned int fail = SECCOMP_RET_ERRNO | error;
    sock_filter steps[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1), BPF_STMT(BPF_RET | BPF_K, fail),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    return filterSystemCalls(steps);
}

/// From now on a system call of the calling thread fails unless that argument of it has all those flags.
bool demandFlags(unsigned int call, unsigned int argument, unsigned int flags) {
    const auto at =
        static_cast<unsigned int>(offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t));
    sock_filter steps[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 4),
                           BPF_STMT(BPF_LD | BPF_W | BPF_ABS, at),
                           BPF_STMT(BPF_ALU | BPF_AND | BPF_K, flags),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, flags, 1, 0),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    return filterSystemCalls(steps);
}

TEST_F(DnsUtilsTest, EachErrorThatMeansThatNoWayLeadsToTheServerIsNoNetworkAndAnyOtherIsNot) {
    struct Row {
        unsigned int call;
        int error;
        Result result;
    };
    serve([](const DnsQuestion&) { return std::nullopt; });
    const auto query = [this](const Row& row, bool& isPossible) {
        isPossible = failSystemCall(row.call, static_cast<unsigned int>(row.error));
        if (isPossible) {
            EXPECT_EQ(queryServices(), row.result) << row.error;
            EXPECT_EQ(queryA(), row.result) << row.error;
        }
    };
    for (const Row& row : {Row{SYS_connect, ENETUNREACH, DnsQueryResult::NO_NETWORK},
                           Row{SYS_connect, EHOSTUNREACH, DnsQueryResult::NO_NETWORK},
                           Row{SYS_connect, ENETDOWN, DnsQueryResult::NO_NETWORK},
                           Row{SYS_connect, EHOSTDOWN, DnsQueryResult::NO_NETWORK},
                           Row{SYS_connect, EADDRNOTAVAIL, DnsQueryResult::NO_NETWORK},
                           Row{SYS_connect, ENONET, DnsQueryResult::NO_NETWORK},
                           Row{SYS_socket, EAFNOSUPPORT, DnsQueryResult::NO_NETWORK},
                           Row{SYS_socket, EMFILE, DnsQueryResult::SERVER_FAILURE},
                           Row{SYS_connect, EACCES, DnsQueryResult::SERVER_FAILURE}}) {
        bool isPossible = false;
        std::thread([&] { query(row, isPossible); }).join();
        if (!isPossible) {
            GTEST_SKIP() << "system calls can't be made to fail here";
        }
    }
}

/// A server that closes its connection must not end the process, and a program that the host starts must not
/// inherit our sockets.
TEST_F(DnsUtilsTest, NoSocketRaisesASignalOrIsInherited) {
    serve([](const DnsQuestion& question) {
        return (question.overTcp ? DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1)
                                 : DnsAnswer(question).truncated())
            .bytes();
    });
    bool isPossible = false;
    std::thread([&] {
        isPossible = demandFlags(SYS_socket, 1, SOCK_CLOEXEC | SOCK_NONBLOCK) &&
                     demandFlags(SYS_sendmsg, 2, MSG_NOSIGNAL) && failSystemCall(SYS_sendto, EPERM) &&
                     failSystemCall(SYS_writev, EPERM);
        if (isPossible) {
            EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
        }
    }).join();
    if (!isPossible) {
        GTEST_SKIP() << "system calls can't be made to fail here";
    }
}

// --- The time ---------------------------------------------------------------------------------------------

TEST_F(DnsUtilsTest, ATimeOfZeroOrLessBringsTheUsualFiveSecondsBack) {
    EXPECT_EQ(ResolverSettings().timeout, std::chrono::seconds(5));
    serve([](const DnsQuestion& question) {
        // Real time is what is set here: longer than the 20 ms.
        std::this_thread::sleep_for(milliseconds(150));
        return DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1).bytes();
    });
    for (const auto time : {milliseconds(0), milliseconds(-1), milliseconds::min()}) {
        DnsUtils::setTimeout(milliseconds(20));
        EXPECT_EQ(queryServices(), DnsQueryResult::TIME_OUT);
        DnsUtils::setTimeout(time);
        EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS) << time.count();
    }
}

TEST_F(DnsUtilsTest, ATimeBeyondWhatAClockCanAddIsALongOne) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1).bytes();
    });
    DnsUtils::setTimeout(milliseconds::max());
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
}

// --- Several servers --------------------------------------------------------------------------------------

class DnsServersTest : public DnsUtilsTest {
protected:
    /// The first server answers by the handler, the second one well.
    void serveTwo(LoopbackDnsServer::Handler handler) {
        first_ = std::make_unique<LoopbackDnsServer>(std::move(handler));
        second_ = std::make_unique<LoopbackDnsServer>([](const DnsQuestion& question) {
            return (question.type == DnsQuestion::SRV
                        ? DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1)
                        : DnsAnswer(question).a("192.0.2.1", 1))
                .bytes();
        });
        EXPECT_TRUE(DnsUtils::setNameServers(first_->authority() + "," + second_->authority()));
    }

    void expectTheSecondToHelp() {
        EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
        EXPECT_EQ(queryA(), DnsQueryResult::SUCCESS);
        EXPECT_THAT(second_->questions(), SizeIs(2));
    }

    std::unique_ptr<LoopbackDnsServer> first_;
    std::unique_ptr<LoopbackDnsServer> second_;
};

TEST_F(DnsServersTest, TheSecondIsNotAskedWhenTheFirstAnswers) {
    serveTwo(
        [](const DnsQuestion& question) { return DnsAnswer(question).code(DnsAnswer::NXDOMAIN).bytes(); });
    EXPECT_EQ(queryServices(), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryA(), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_THAT(second_->questions(), IsEmpty());
}

TEST_F(DnsServersTest, TheSecondIsAskedWhenTheFirstFails) {
    serveTwo(
        [](const DnsQuestion& question) { return DnsAnswer(question).code(DnsAnswer::SERVFAIL).bytes(); });
    expectTheSecondToHelp();
}

TEST_F(DnsServersTest, TheSecondIsAskedWhenTheFirstRefuses) {
    serveTwo(
        [](const DnsQuestion& question) { return DnsAnswer(question).code(DnsAnswer::REFUSED).bytes(); });
    expectTheSecondToHelp();
}

TEST_F(DnsServersTest, TheSecondIsAskedWhenTheFirstIsSilent) {
    serveTwo([](const DnsQuestion&) { return std::nullopt; });
    DnsUtils::setTimeout(milliseconds(600));
    const auto begin = Clock::now();
    expectTheSecondToHelp();
    EXPECT_LT(Clock::now() - begin, milliseconds(1000)) << "long before the time is over";
}

TEST_F(DnsServersTest, TheSecondIsAskedWhenNobodyListensAtTheFirst) {
    serveTwo([](const DnsQuestion&) { return std::nullopt; });
    first_.reset();
    expectTheSecondToHelp();
}

TEST_F(DnsUtilsTest, ListsOfServersAreCheckedAndAWrongOneChangesNothing) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question).srv(1, 1, 1, "edge.corp.example", 1).bytes();
    });
    for (const auto& list : {","s,
                             "127.0.0.1,"s,
                             ",127.0.0.1"s,
                             " "s,
                             "127.0.0.1 "s,
                             "127.0.0.1:"s,
                             "127.0.0.1:0"s,
                             "127.0.0.1:65536"s,
                             "127.0.0.1:x"s,
                             "127.0.0.1:53x"s,
                             "127.0.0.1:-1"s,
                             "127.1"s,
                             "dns.example"s,
                             "[::1"s,
                             "::1]"s,
                             "[::1]53"s,
                             "[127.0.0.1]:53"s,
                             "[]"s,
                             "127.0.0.1\0"s,
                             "127.0.0.1,\0"s}) {
        EXPECT_FALSE(DnsUtils::setNameServers(list)) << list;
    }
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    for (const auto& list : {"127.0.0.1"s, "127.0.0.1:1"s, "127.0.0.1:65535,::1"s, "[::1]"s,
                             "[::1]:53,[::2]:5"s, "2001:db8::1,192.0.2.1"s}) {
        EXPECT_TRUE(DnsUtils::setNameServers(list)) << list;
    }
}

// --- Names that need no server ----------------------------------------------------------------------------

class DnsNamesTest : public DnsUtilsTest {
protected:
    DnsNamesTest() {
        serve([](const DnsQuestion& question) { return DnsAnswer(question).bytes(); });
    }
    ~DnsNamesTest() override { EXPECT_THAT(server_->questions(), IsEmpty()) << "nobody is asked"; }
};

TEST_F(DnsNamesTest, ANameThatNoQuestionCanCarryIsInvalid) {
    const std::string label(63, 'a');
    for (const auto& name : {""s,
                             "."s,
                             ".."s,
                             ".a"s,
                             "a..b"s,
                             "a.."s,
                             "\0"s,
                             "a\0b.example"s,
                             "a.example\0"s,
                             "127.0.0.1\0"s,
                             "::1\0.example"s,
                             " "s,
                             "a b.example"s,
                             "a\nb"s,
                             "a\tb"s,
                             "a\x7f"s,
                             "a\\.b"s,
                             "http://a.example"s,
                             "a.example/"s,
                             "a.example:443"s,
                             "[::1]"s,
                             "*.example"s,
                             "a@b"s,
                             std::string(64, 'a') + ".example",
                             label + "." + label + "." + label + "." + label,
                             std::string(256, 'a'),
                             label + "." + label + "." + label + "." + std::string(62, 'b')}) {
        EXPECT_EQ(queryServices(name), DnsQueryResult::INVALID_NAME) << name;
        EXPECT_EQ(queryA(name), DnsQueryResult::INVALID_NAME) << name;
        EXPECT_EQ(queryAaaa(name), DnsQueryResult::INVALID_NAME) << name;
        EXPECT_THAT(services_, IsEmpty());
        EXPECT_THAT(a_, IsEmpty());
        EXPECT_THAT(aaaa_, IsEmpty());
    }
    EXPECT_EQ(queryA(std::string(10 * 1000 * 1000, '.')), DnsQueryResult::INVALID_NAME);
    EXPECT_EQ(queryA(std::string(10 * 1000 * 1000, 'a')), DnsQueryResult::INVALID_NAME);
}

TEST_F(DnsNamesTest, AnIpv4AddressIsItsOwnRecord) {
    for (const auto& name : {"192.0.2.1"s, "192.0.513"s}) {
        EXPECT_EQ(queryA(name), DnsQueryResult::SUCCESS) << name;
        ASSERT_THAT(a_, SizeIs(1));
        EXPECT_EQ(a_[0].getName(), name);
        EXPECT_EQ(a_[0].getIP4Address(), "192.0.2.1");
        EXPECT_EQ(a_[0].getTtl(), 0U);
        EXPECT_EQ(queryAaaa(name), DnsQueryResult::NO_RECORDS) << name;
        EXPECT_EQ(queryServices(name), DnsQueryResult::NO_RECORDS) << name;
    }
}

TEST_F(DnsNamesTest, AnIpv6AddressIsItsOwnRecordInItsUsualSpelling) {
    EXPECT_EQ(queryAaaa("2001:DB8:0:0::0001"), DnsQueryResult::SUCCESS);
    ASSERT_THAT(aaaa_, SizeIs(1));
    EXPECT_EQ(aaaa_[0].getIP6Address(), "2001:db8::1");
    EXPECT_EQ(queryA("2001:db8::1"), DnsQueryResult::NO_RECORDS);
    EXPECT_EQ(queryServices("2001:db8::1"), DnsQueryResult::NO_RECORDS);
}

TEST_F(DnsNamesTest, LocalhostIsThisMachineInEverySpelling) {
    for (const auto& name : {"localhost"s, "localhost."s, "LocalHost"s, "a.b.localhost"s, "x.LOCALHOST."s}) {
        EXPECT_EQ(queryA(name), DnsQueryResult::SUCCESS) << name;
        ASSERT_THAT(a_, Not(IsEmpty())) << name;
        EXPECT_EQ(a_[0].getIP4Address().rfind("127.", 0), 0U) << name;
        EXPECT_EQ(queryAaaa(name), DnsQueryResult::SUCCESS) << name;
        ASSERT_THAT(aaaa_, Not(IsEmpty())) << name;
        EXPECT_EQ(queryServices(name), DnsQueryResult::NO_RECORDS) << name;
    }
}

TEST_F(DnsUtilsTest, ANameThatOnlyEndsLikeLocalhostIsAskedFor) {
    const auto& server = serve(
        [](const DnsQuestion& question) { return DnsAnswer(question).code(DnsAnswer::NXDOMAIN).bytes(); });
    EXPECT_EQ(queryA("notlocalhost."), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_EQ(queryA("localhost.example."), DnsQueryResult::DOMAIN_DOES_NOT_EXIST);
    EXPECT_THAT(server.questions(), SizeIs(2));
}

// --- The interface ----------------------------------------------------------------------------------------

TEST_F(DnsUtilsTest, TheImplementationOfTheInterfaceAsksTheSame) {
    const auto& server = serve([](const DnsQuestion& question) {
        DnsAnswer answer(question);
        return (question.type == DnsQuestion::SRV ? answer.srv(1, 2, 3, "edge.corp.example", 4)
                : question.type == DnsQuestion::A ? answer.a("192.0.2.1", 5)
                                                  : answer.aaaa("2001:db8::1", 6))
            .bytes();
    });
    const std::unique_ptr<DnsUtilsInterface> utils = std::make_unique<DnsUtilsImpl>();
    EXPECT_EQ(utils->executeSRVRecordQuery(SERVICE, services_), DnsQueryResult::SUCCESS);
    EXPECT_EQ(utils->executeARecordQuery(HOST, a_), DnsQueryResult::SUCCESS);
    EXPECT_EQ(utils->executeAAAARecordQuery(HOST, aaaa_), DnsQueryResult::SUCCESS);
    EXPECT_THAT(services(), ElementsAre("1 2 3 edge.corp.example 4"));
    EXPECT_EQ(a_.at(0).getTtl(), 5U);
    EXPECT_EQ(aaaa_.at(0).getTtl(), 6U);
    EXPECT_THAT(server.questions(), SizeIs(3));
}

/// The third entry of the table of virtual functions, called as a program does that was compiled against it.
TEST_F(DnsUtilsTest, TheThirdEntryOfTheInterfaceIsTheAaaaQuery) {
    const auto& server =
        serve([](const DnsQuestion& question) { return DnsAnswer(question).aaaa("2001:db8::1", 6).bytes(); });
    DnsUtilsImpl utils;
    DnsUtilsInterface* const interface = &utils;
    using Query = Result (*)(DnsUtilsInterface*, const std::string&, std::vector<AAAARecord>&);
    const auto* const table = *reinterpret_cast<Query* const*>(interface);
    EXPECT_EQ(table[2](interface, HOST, aaaa_), DnsQueryResult::SUCCESS);
    EXPECT_EQ(server.questions().at(0).type, DnsQuestion::AAAA);
}

// --- Threads ----------------------------------------------------------------------------------------------

TEST_F(DnsUtilsTest, ManyThreadsAskAtTheSameTimeWhileTheSettingsChange) {
    serve([](const DnsQuestion& question) {
        DnsAnswer answer(question);
        return (question.type == DnsQuestion::SRV ? answer.srv(1, 2, 3, "edge.corp.example", 4)
                                                  : answer.a("192.0.2.1", 5))
            .bytes();
    });
    constexpr int THREADS = 8;
    constexpr int QUERIES = 25;
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < THREADS; ++number) {
        threads.emplace_back([&good] {
            for (int query = 0; query < QUERIES; ++query) {
                std::vector<ServiceResourceRecord> services;
                std::vector<ARecord> addresses;
                good += DnsUtils::executeSRVRecordQuery(SERVICE, services) == DnsQueryResult::SUCCESS ? 1 : 0;
                good += DnsUtils::executeARecordQuery(HOST, addresses) == DnsQueryResult::SUCCESS ? 1 : 0;
            }
        });
    }
    for (int change = 0; change < 100; ++change) {
        DnsUtils::setTimeout(milliseconds(20000 + change));
        DnsUtils::setNameServers(server_->authority());
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, THREADS * QUERIES * 2);
}

/// A client may hold more files than select() can name.
TEST_F(DnsUtilsTest, SocketsWithHighNumbersWork) {
    serve([](const DnsQuestion& question) {
        return DnsAnswer(question).srv(1, 2, 3, "edge.corp.example", 4).bytes();
    });
    std::vector<int> files;
    for (int file = ::dup(0); file >= 0 && file < 1100; file = ::dup(0)) {
        files.push_back(file);
    }
    if (files.empty() || files.back() < 1024) {
        for (const int file : files) {
            ::close(file);
        }
        GTEST_SKIP() << "this machine gives a process fewer files";
    }
    EXPECT_EQ(queryServices(), DnsQueryResult::SUCCESS);
    for (const int file : files) {
        ::close(file);
    }
}

}  // namespace
}  // namespace zeb::dns

#include "Require.h"
#include "dnsutils/DnsUtils.h"
#include "support/LoopbackDnsServer.h"
#include "zeblogger/ZEBLogger.h"

#include <arpa/inet.h>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <vector>

using namespace zeb::dns;
using zeb::test::DnsQuestion;
using zeb::test::LoopbackDnsServer;

namespace {

constexpr std::size_t HEADER_SIZE = 12;

/// What the next answer is made of: the flags and the numbers of records, and all that follows the question.
class NextAnswer {
public:
    void set(const std::string& input) {
        const std::lock_guard<std::mutex> lock(mutex_);
        input_ = input;
    }
    /// Belongs to the question, or it would not be looked at.
    std::string to(const DnsQuestion& question) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::string head = question.raw.substr(0, HEADER_SIZE);
        constexpr std::size_t FROM_INPUT = 4;  // flags, number of answers
        std::string given = input_.substr(0, FROM_INPUT);
        given.resize(FROM_INPUT, '\0');
        head[2] = static_cast<char>(static_cast<unsigned char>(given[0]) | 0x80U);  // an answer
        head[3] = given[1];
        head[6] = given[2];
        head[7] = given[3];
        return head + question.raw.substr(HEADER_SIZE) +
               (input_.size() > FROM_INPUT ? input_.substr(FROM_INPUT) : std::string());
    }

private:
    mutable std::mutex mutex_;  ///< guards input_
    std::string input_;
};

NextAnswer& nextAnswer() {
    static auto& answer = *new NextAnswer;
    return answer;
}

LoopbackDnsServer& server() {
    static auto& started =
        *new LoopbackDnsServer([](const DnsQuestion& question) { return nextAnswer().to(question); });
    return started;
}

bool isAddress(int family, const std::string& text) {
    unsigned char bytes[sizeof(in6_addr)];
    return inet_pton(family, text.c_str(), bytes) == 1;
}

template <typename Record>
void requireRecordsOnSuccessOnly(DnsQueryResult::Result result, const std::vector<Record>& records) {
    ZEB_REQUIRE((result == DnsQueryResult::SUCCESS) == !records.empty());
    constexpr unsigned int GREATEST_TTL = 0x7fffffff;
    for (const Record& record : records) {
        ZEB_REQUIRE(record.getTtl() <= GREATEST_TTL);
    }
}

void checkServices() {
    std::vector<ServiceResourceRecord> records;
    requireRecordsOnSuccessOnly(DnsUtils::executeSRVRecordQuery("_a._b.c", records), records);
    constexpr unsigned int GREATEST = 0xffff;
    for (const ServiceResourceRecord& record : records) {
        ZEB_REQUIRE(record.getPriority() <= GREATEST && record.getWeight() <= GREATEST &&
                    record.getPort() <= GREATEST && !record.getTarget().empty());
    }
}

void checkAddresses() {
    std::vector<ARecord> ipv4;
    requireRecordsOnSuccessOnly(DnsUtils::executeARecordQuery("a.b.", ipv4), ipv4);
    for (const ARecord& record : ipv4) {
        ZEB_REQUIRE(isAddress(AF_INET, record.getIP4Address()) && !record.getName().empty());
    }
    std::vector<AAAARecord> ipv6;
    requireRecordsOnSuccessOnly(DnsUtils::executeAAAARecordQuery("a.b.", ipv6), ipv6);
    for (const AAAARecord& record : ipv6) {
        ZEB_REQUIRE(isAddress(AF_INET6, record.getIP6Address()));
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    LogController::getInstance()->setLevel(0);
    DnsUtils::setNameServers(server().authority());
    DnsUtils::setTimeout(std::chrono::milliseconds(30));  // for answers that c-ares doesn't take for any
    return 0;
}

/// The answer that comes over the wire is whatever the input makes of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t MAX_DATAGRAM = 4000;
    if (size > MAX_DATAGRAM) {
        return 0;
    }
    nextAnswer().set(std::string(reinterpret_cast<const char*>(data), size));
    checkServices();
    checkAddresses();
    return 0;
}

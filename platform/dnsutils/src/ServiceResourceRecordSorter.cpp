#include "dnsutils/ServiceResourceRecordSorter.h"

#include <algorithm>
#include <random>
#include <utility>

namespace zeb::dns {
namespace {

std::uint64_t drawNumber(std::uint64_t greatest) {
    thread_local std::mt19937_64 source{std::random_device{}()};
    return std::uniform_int_distribution<std::uint64_t>(0, greatest)(source);
}

bool hasLowerPriority(const ServiceResourceRecord& left, const ServiceResourceRecord& right) {
    return left.getPriority() < right.getPriority();
}

}  // namespace

ServiceResourceRecordSorter::ServiceResourceRecordSorter(std::vector<ServiceResourceRecord>& records)
    : ServiceResourceRecordSorter(records, nullptr) {}

ServiceResourceRecordSorter::ServiceResourceRecordSorter(std::vector<ServiceResourceRecord>& records,
                                                         RandomNumber randomNumber)
    : records_(records), randomNumber_(randomNumber ? std::move(randomNumber) : drawNumber) {}

void ServiceResourceRecordSorter::sortRecords() {
    std::stable_sort(records_.begin(), records_.end(), hasLowerPriority);
    for (auto begin = records_.begin(); begin != records_.end();) {
        const auto end = std::upper_bound(begin, records_.end(), *begin, hasLowerPriority);
        arrangeByWeight(begin, end);
        begin = end;
    }
}

/// RFC 2782: those of weight 0 to the front, so that they have a small chance; then one after the other is
/// chosen among those that are left.
void ServiceResourceRecordSorter::arrangeByWeight(Iterator begin, Iterator end) {
    std::stable_partition(begin, end, [](const auto& record) { return record.getWeight() == 0; });
    for (; begin != end; ++begin) {
        const auto chosen = choose(begin, end);
        std::rotate(begin, chosen, chosen + 1);
    }
}

/// The first whose running sum of weights reaches a number drawn from 0 to the sum of all.
ServiceResourceRecordSorter::Iterator ServiceResourceRecordSorter::choose(Iterator begin, Iterator end) {
    std::uint64_t sum = 0;
    for (auto record = begin; record != end; ++record) {
        sum += record->getWeight();
    }
    const std::uint64_t number = std::min(randomNumber_(sum), sum);
    std::uint64_t runningSum = 0;
    return std::find_if(begin, end, [&](const auto& record) {
        runningSum += record.getWeight();
        return runningSum >= number;
    });
}

}  // namespace zeb::dns

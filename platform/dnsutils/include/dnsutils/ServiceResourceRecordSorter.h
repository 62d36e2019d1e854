#pragma once

#include "dnsutils/Export.h"
#include "dnsutils/ServiceResourceRecord.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace zeb::dns {

/// Puts records into the order in which a client uses them (RFC 2782): by rising priority, and within one
/// priority by chance, in proportion to the weights. A record of weight 0 comes before a heavier one only
/// rarely; records that all have weight 0 keep their order.
class DNSUTILS_EXPORT ServiceResourceRecordSorter {
public:
    /// Gives a number from 0 to `greatest`, both included, each equally likely. A greater one counts as
    /// `greatest`.
    using RandomNumber = std::function<std::uint64_t(std::uint64_t greatest)>;

    /// Sorts `records`, which must outlive this object, by a random source of its own.
    explicit ServiceResourceRecordSorter(std::vector<ServiceResourceRecord>& records);
    /// The same by the given source; an empty one means this object's own.
    ServiceResourceRecordSorter(std::vector<ServiceResourceRecord>& records, RandomNumber randomNumber);

    /// Sorts the vector in place. Each call draws anew.
    void sortRecords();

private:
    using Iterator = std::vector<ServiceResourceRecord>::iterator;

    void arrangeByWeight(Iterator begin, Iterator end);
    Iterator choose(Iterator begin, Iterator end);

    std::vector<ServiceResourceRecord>& records_;
    RandomNumber randomNumber_;
};

}  // namespace zeb::dns

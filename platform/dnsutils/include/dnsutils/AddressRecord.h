#pragma once

#include <string>

namespace zeb::dns {

/// What records of an address have, of whichever family. A plain value.
class AddressRecord {
public:
    /// The name that the address belongs to: that of the query, or the one at the end of its aliases.
    const std::string& getName() const { return name_; }
    /// How many seconds the record, and the aliases that lead to it, may be kept; 0 for one that comes from
    /// the hosts file, or from no name at all.
    unsigned int getTtl() const { return ttl_; }

protected:
    AddressRecord(const std::string& name, const std::string& address, unsigned int ttl)
        : name_(name), address_(address), ttl_(ttl) {}

    const std::string& getAddress() const { return address_; }

private:
    std::string name_;
    std::string address_;
    unsigned int ttl_;
};

}  // namespace zeb::dns

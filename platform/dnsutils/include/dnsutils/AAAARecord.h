#pragma once

#include "dnsutils/Export.h"

#include <string>

namespace zeb::dns {

/// One IPv6 address of a name. A plain value.
class DNSUTILS_EXPORT AAAARecord {
public:
    /// The time to live in seconds.
    AAAARecord(const std::string& name, const std::string& address, unsigned int ttl);

    /// The name that the address belongs to: that of the query, or the one at the end of its aliases.
    const std::string& getName() const { return name_; }
    /// In the form of RFC 5952: "2001:db8::1".
    const std::string& getIP6Address() const { return address_; }
    /// How many seconds the record may be kept; 0 for one that comes from the hosts file, or from no name at
    /// all.
    unsigned int getTtl() const { return ttl_; }

private:
    std::string name_;
    std::string address_;
    unsigned int ttl_;
};

}  // namespace zeb::dns

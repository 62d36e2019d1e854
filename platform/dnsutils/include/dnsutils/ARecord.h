#pragma once

#include "dnsutils/AddressRecord.h"
#include "dnsutils/Export.h"

#include <string>

namespace zeb::dns {

/// One IPv4 address of a name. A plain value.
class DNSUTILS_EXPORT ARecord : public AddressRecord {
public:
    /// The time to live in seconds.
    ARecord(const std::string& name, const std::string& address, unsigned int ttl);

    /// Dotted: "192.0.2.1".
    const std::string& getIP4Address() const { return getAddress(); }
};

}  // namespace zeb::dns

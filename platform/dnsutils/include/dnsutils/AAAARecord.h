#pragma once

#include "dnsutils/AddressRecord.h"
#include "dnsutils/Export.h"

#include <string>

namespace zeb::dns {

/// One IPv6 address of a name. A plain value.
class DNSUTILS_EXPORT AAAARecord : public AddressRecord {
public:
    /// The time to live in seconds.
    AAAARecord(const std::string& name, const std::string& address, unsigned int ttl);

    /// In the form of RFC 5952: "2001:db8::1".
    const std::string& getIP6Address() const { return getAddress(); }
};

}  // namespace zeb::dns

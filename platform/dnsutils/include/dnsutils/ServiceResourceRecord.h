#pragma once

#include "dnsutils/Export.h"

#include <string>

namespace zeb::dns {

/// One endpoint of a service (RFC 2782). A plain value.
class DNSUTILS_EXPORT ServiceResourceRecord {
public:
    /// The time to live in seconds; 0 for a record that comes from elsewhere than DNS.
    ServiceResourceRecord(unsigned int priority, unsigned int weight, unsigned int port,
                          const std::string& target, unsigned int ttl = 0);

    /// The lower, the earlier the endpoint is to be tried.
    unsigned int getPriority() const { return priority_; }
    /// The share of the load among endpoints of one priority.
    unsigned int getWeight() const { return weight_; }
    unsigned int getPort() const { return port_; }
    /// The host, without a dot at its end.
    const std::string& getTarget() const { return target_; }
    /// How many seconds the record may be kept.
    unsigned int getTtl() const { return ttl_; }

private:
    unsigned int priority_;
    unsigned int weight_;
    unsigned int port_;
    std::string target_;
    unsigned int ttl_;
};

}  // namespace zeb::dns

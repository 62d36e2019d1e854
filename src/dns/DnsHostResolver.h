#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::dns {

/// Answers whether a host name resolves at all. Stateless; any thread may call.
class ZEBNETUTILS_EXPORT DnsHostResolver {
public:
    /// True if the host has an IPv4 address or, asked after that, an IPv6 address; one of either family is
    /// enough. False for every failure, too. Blocks for as long as the DNS queries take, one after the other.
    virtual bool isResolvable(const std::string& host);
    virtual ~DnsHostResolver();
};

}  // namespace zeb::dns

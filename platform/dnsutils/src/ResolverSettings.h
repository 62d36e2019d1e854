#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace zeb::dns {

/// How a query is made, apart from what the system's files say.
struct ResolverSettings {
    static constexpr std::chrono::milliseconds DEFAULT_TIMEOUT = std::chrono::seconds(5);

    std::chrono::milliseconds timeout = DEFAULT_TIMEOUT;
    std::string servers;  ///< as DnsUtils::setNameServers takes them; empty: the system's
};

/// True for the form that DnsUtils::setNameServers tells.
bool isListOfServers(const std::string& servers);

/// How many servers such a list has; for an empty one, how many /etc/resolv.conf names.
std::size_t countServers(const std::string& servers);

/// True when /etc/nsswitch.conf has hosts looked for by systemd's resolver ("resolve"). That one goes by the
/// hosts file before it asks DNS, whatever else the line names; c-ares takes it for DNS alone.
bool systemAsksItsResolver();

}  // namespace zeb::dns

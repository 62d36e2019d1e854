#pragma once

#include "dnsutils/AAAARecord.h"
#include "dnsutils/ARecord.h"
#include "dnsutils/DnsQueryResult.h"
#include "dnsutils/Export.h"
#include "dnsutils/ServiceResourceRecord.h"

#include <chrono>
#include <string>
#include <vector>

/// The DNS library of the client: all DNS queries of the networking library go through it. A host that has
/// such a library of its own provides these symbols in its place.
namespace zeb::dns {

/// Blocking queries over the resolver that the system is set up with. Any thread may call, any number at the
/// same time; nothing throws unless memory runs out. Nothing is cached, and the system's settings (the hosts
/// file, /etc/resolv.conf, /etc/nsswitch.conf) are read anew for each query.
///
/// What all queries share:
/// - `records` is emptied first, and holds something at the end if the result is SUCCESS.
/// - The servers are asked in turn, each twice, over UDP, and over TCP if the answer is too large; a server
///   that refuses or fails gives way to the next one.
/// - A query ends after the time of setTimeout at the latest.
/// - A dot at the end of the name is understood. A name is sent as it is: one with letters beyond ASCII isn't
///   translated.
class DNSUTILS_EXPORT DnsUtils {
public:
    DnsUtils() = delete;

    /// The service records of a whole name ("_service._tcp.example.com"), in the order of the answer; see
    /// ServiceResourceRecordSorter. A record that says that there is no such service (the target ".", RFC
    /// 2782) is left out. An IP address has none.
    static DnsQueryResult::Result executeSRVRecordQuery(const std::string& name,
                                                        std::vector<ServiceResourceRecord>& records);

    /// The IPv4 addresses of a host, as the system's resolver finds them: in the hosts file and in DNS, by
    /// the search list for a name without a dot; localhost is always known. An IPv4 address is its own
    /// record, an IPv6 address has none.
    static DnsQueryResult::Result executeARecordQuery(const std::string& name, std::vector<ARecord>& records);

    /// The same for IPv6 addresses.
    static DnsQueryResult::Result executeAAAARecordQuery(const std::string& name,
                                                         std::vector<AAAARecord>& records);

    /// How long each later query may take as a whole: 5 seconds unless the host says otherwise. Zero or less
    /// brings that back.
    static void setTimeout(std::chrono::milliseconds timeout);

    /// The servers that each later query asks in place of the system's, with commas between them:
    /// "192.0.2.1,[2001:db8::1]:5353". An empty text brings the system's back. False, and nothing changes,
    /// if the text is not of this form.
    static bool setNameServers(const std::string& servers);
};

}  // namespace zeb::dns

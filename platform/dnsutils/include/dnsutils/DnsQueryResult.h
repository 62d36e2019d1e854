#pragma once

#include "dnsutils/Export.h"

#include <iosfwd>

namespace zeb::dns {

/// How a DNS query ended.
struct DNSUTILS_EXPORT DnsQueryResult {
    enum Result : int {
        SUCCESS = 0,     ///< there is at least one record
        NO_RECORDS = 1,  ///< the name exists, or may exist, and has no record of that type
        FAILURE = 2,     ///< whatever is none of the others: no memory, no descriptor left
        INVALID_NAME =
            3,         ///< no name that DNS could carry: empty, a NUL in it, too long ...; nobody was asked
        TIME_OUT = 4,  ///< no answer within the time
        DOMAIN_DOES_NOT_EXIST = 5,  ///< NXDOMAIN
        SERVER_FAILURE = 6,         ///< each server that could be asked refused, failed, or answered nonsense
        NO_NETWORK = 7,             ///< no way led to any server, or the system has no server to ask
    };
};

/// The name of the value ("NO_RECORDS"), or its number if it is none of these.
DNSUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const DnsQueryResult::Result& result);

}  // namespace zeb::dns

#pragma once

#include "dnsutils/AAAARecord.h"
#include "dnsutils/ARecord.h"
#include "dnsutils/DnsQueryResult.h"
#include "dnsutils/Export.h"
#include "dnsutils/ServiceResourceRecord.h"

#include <string>
#include <vector>

namespace zeb::dns {

/// The queries of DnsUtils for those who are given whom to ask: a host or a test may bring its own. Any
/// thread may call, several at the same time.
class DNSUTILS_EXPORT DnsUtilsInterface {
public:
    // The order of these is part of the interface.
    virtual DnsQueryResult::Result executeSRVRecordQuery(const std::string& name,
                                                         std::vector<ServiceResourceRecord>& records) = 0;
    virtual DnsQueryResult::Result executeARecordQuery(const std::string& name,
                                                       std::vector<ARecord>& records) = 0;
    virtual DnsQueryResult::Result executeAAAARecordQuery(const std::string& name,
                                                          std::vector<AAAARecord>& records) = 0;
    virtual ~DnsUtilsInterface() = default;
};

}  // namespace zeb::dns

#include "dns/DnsHostResolver.h"

#include "core/Log.h"
#include "dnsutils/DnsUtils.h"

#include <vector>

namespace zeb::dns {
namespace {

template <typename Record>
bool hasRecords(DnsQueryResult::Result result, const std::vector<Record>& records, const char* type) {
    if (result == DnsQueryResult::SUCCESS && !records.empty()) {
        ZEB_LOG_DEBUG(log::dns(), type << " record query succeeded with record size: " << records.size());
        return true;
    }
    ZEB_LOG_DEBUG(log::dns(), type << " record query failed with result: " << result
                                   << " and record size: " << records.size());
    return false;
}

}  // namespace

DnsHostResolver::~DnsHostResolver() = default;

bool DnsHostResolver::isResolvable(const std::string& host) {
    ZEB_LOG_DEBUG(log::dns(), "About to execute A record query for: " << ZEBLogger_replacePIIData(host));
    std::vector<ARecord> addresses;
    const auto result = DnsUtils::executeARecordQuery(host, addresses);
    if (hasRecords(result, addresses, "A")) {
        return true;
    }
    std::vector<AAAARecord> ipv6Addresses;
    const auto ipv6Result = DnsUtils::executeAAAARecordQuery(host, ipv6Addresses);
    return hasRecords(ipv6Result, ipv6Addresses, "AAAA");
}

}  // namespace zeb::dns

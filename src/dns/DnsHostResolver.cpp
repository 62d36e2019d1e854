#include "dns/DnsHostResolver.h"

#include "core/Log.h"
#include "dnsutils/DnsUtils.h"

#include <vector>

namespace zeb::dns {
namespace {

template <typename Record>
bool isFound(DnsQueryResult::Result result, const std::vector<Record>& records) {
    return result == DnsQueryResult::SUCCESS && !records.empty();
}

bool hasIpv4Address(const std::string& host) {
    ZEB_LOG_DEBUG(log::dns(), "About to execute A record query for: " << ZEBLogger_replacePIIData(host));
    std::vector<ARecord> records;
    const auto result = DnsUtils::executeARecordQuery(host, records);
    if (isFound(result, records)) {
        ZEB_LOG_DEBUG(log::dns(), "A record query succeeded with record size: " << records.size());
        return true;
    }
    ZEB_LOG_DEBUG(log::dns(),
                  "A record query failed with result: " << result << " and record size: " << records.size());
    return false;
}

bool hasIpv6Address(const std::string& host) {
    std::vector<AAAARecord> records;
    const auto result = DnsUtils::executeAAAARecordQuery(host, records);
    if (isFound(result, records)) {
        ZEB_LOG_DEBUG(log::dns(), "AAAA record query succeeded with record size: " << records.size());
        return true;
    }
    ZEB_LOG_DEBUG(log::dns(), "AAAA record query failed with result: " << result << " and record size: "
                                                                       << records.size());
    return false;
}

}  // namespace

DnsHostResolver::~DnsHostResolver() = default;

bool DnsHostResolver::isResolvable(const std::string& host) {
    return hasIpv4Address(host) || hasIpv6Address(host);
}

}  // namespace zeb::dns

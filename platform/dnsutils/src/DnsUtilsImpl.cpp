#include "dnsutils/DnsUtilsImpl.h"

#include "dnsutils/DnsUtils.h"

namespace zeb::dns {

DnsUtilsImpl::DnsUtilsImpl() = default;
DnsUtilsImpl::~DnsUtilsImpl() = default;

DnsQueryResult::Result DnsUtilsImpl::executeSRVRecordQuery(const std::string& name,
                                                           std::vector<ServiceResourceRecord>& records) {
    return DnsUtils::executeSRVRecordQuery(name, records);
}

DnsQueryResult::Result DnsUtilsImpl::executeARecordQuery(const std::string& name,
                                                         std::vector<ARecord>& records) {
    return DnsUtils::executeARecordQuery(name, records);
}

DnsQueryResult::Result DnsUtilsImpl::executeAAAARecordQuery(const std::string& name,
                                                            std::vector<AAAARecord>& records) {
    return DnsUtils::executeAAAARecordQuery(name, records);
}

}  // namespace zeb::dns

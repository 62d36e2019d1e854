#pragma once

#include "dnsutils/DnsUtilsInterface.h"

namespace zeb::dns {

/// Asks DnsUtils.
class DNSUTILS_EXPORT DnsUtilsImpl : public DnsUtilsInterface {
public:
    DnsUtilsImpl();
    ~DnsUtilsImpl() override;

    DnsQueryResult::Result executeSRVRecordQuery(const std::string& name,
                                                 std::vector<ServiceResourceRecord>& records) override;
    DnsQueryResult::Result executeARecordQuery(const std::string& name,
                                               std::vector<ARecord>& records) override;
    DnsQueryResult::Result executeAAAARecordQuery(const std::string& name,
                                                  std::vector<AAAARecord>& records) override;
};

}  // namespace zeb::dns

#include "dnsutils/ARecord.h"

namespace zeb::dns {

ARecord::ARecord(const std::string& name, const std::string& address, unsigned int ttl)
    : AddressRecord(name, address, ttl) {}

}  // namespace zeb::dns

#include "dnsutils/AAAARecord.h"

namespace zeb::dns {

AAAARecord::AAAARecord(const std::string& name, const std::string& address, unsigned int ttl)
    : AddressRecord(name, address, ttl) {}

}  // namespace zeb::dns

#include "dnsutils/AAAARecord.h"

namespace zeb::dns {

AAAARecord::AAAARecord(const std::string& name, const std::string& address, unsigned int ttl)
    : name_(name), address_(address), ttl_(ttl) {}

}  // namespace zeb::dns

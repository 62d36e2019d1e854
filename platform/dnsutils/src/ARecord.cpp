#include "dnsutils/ARecord.h"

namespace zeb::dns {

ARecord::ARecord(const std::string& name, const std::string& address, unsigned int ttl)
    : name_(name), address_(address), ttl_(ttl) {}

}  // namespace zeb::dns

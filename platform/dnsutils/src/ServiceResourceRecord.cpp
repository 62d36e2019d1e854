#include "dnsutils/ServiceResourceRecord.h"

namespace zeb::dns {

ServiceResourceRecord::ServiceResourceRecord(unsigned int priority, unsigned int weight, unsigned int port,
                                             const std::string& target, unsigned int ttl)
    : priority_(priority), weight_(weight), port_(port), target_(target), ttl_(ttl) {}

}  // namespace zeb::dns

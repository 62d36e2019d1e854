#include "dnsutils/DnsQueryResult.h"

#include <ostream>

namespace zeb::dns {

std::ostream& operator<<(std::ostream& stream, const DnsQueryResult::Result& result) {
    switch (result) {
        case DnsQueryResult::SUCCESS:
            return stream << "SUCCESS";
        case DnsQueryResult::NO_RECORDS:
            return stream << "NO_RECORDS";
        case DnsQueryResult::FAILURE:
            return stream << "FAILURE";
        case DnsQueryResult::INVALID_NAME:
            return stream << "INVALID_NAME";
        case DnsQueryResult::TIME_OUT:
            return stream << "TIME_OUT";
        case DnsQueryResult::DOMAIN_DOES_NOT_EXIST:
            return stream << "DOMAIN_DOES_NOT_EXIST";
        case DnsQueryResult::SERVER_FAILURE:
            return stream << "SERVER_FAILURE";
        case DnsQueryResult::NO_NETWORK:
            return stream << "NO_NETWORK";
    }
    return stream << static_cast<int>(result);
}

}  // namespace zeb::dns

#include "RefusedCertificates.h"

#include "zebdiagnostics/ZEBDiagnostics.h"

#include <algorithm>
#include <cstdint>
#include <iostream>

namespace zebget {

using ZEBDiagnostics::DiagnosticsWrapper;
using ZEBDiagnostics::Record;
using ZEBDiagnostics::RecordType;
using ZEBDiagnostics::SectionID;

void tellRefusedCertificates() {
    static std::uint64_t told = 0;
    for (const Record& record : DiagnosticsWrapper::getRecords()) {
        if (record.number > told && record.type == RecordType::FAILURE &&
            record.section == SectionID::CERTIFICATES) {
            std::cerr << "The certificate of " << record.name << " is not trusted: " << record.value << "\n";
        }
        told = std::max(told, record.number);
    }
}

}  // namespace zebget

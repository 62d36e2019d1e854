#include "ip/ConnectionInformationResult.h"

#include <ostream>

namespace zeb::ip {

std::ostream& operator<<(std::ostream& stream, ConnectionInformationResult::Result result) {
    switch (result) {
        case ConnectionInformationResult::Success:
            return stream << "Success";
        case ConnectionInformationResult::ErrorInvalidParameter:
            return stream << "ErrorInvalidParameter";
        case ConnectionInformationResult::ErrorCouldNotConnect:
            return stream << "ErrorCouldNotConnect";
        case ConnectionInformationResult::ErrorInternal:
            return stream << "ErrorInternal";
    }
    return stream << static_cast<int>(result);
}

std::ostream& operator<<(std::ostream& stream, const ConnectionInformationResult& result) {
    return stream << "Result " << result.result << ", localAddress " << result.localAddress
                  << ", destinationAddress " << result.destinationAddress;
}

}  // namespace zeb::ip

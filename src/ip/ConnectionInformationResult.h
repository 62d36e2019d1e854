#pragma once

#include "core/Export.h"
#include "ip/IpAddress.h"

#include <iosfwd>

namespace zeb::ip {

/// What an attempt to connect has shown. A plain value.
struct ZEBNETUTILS_EXPORT ConnectionInformationResult {
    enum Result : int {
        Success = 0,
        ErrorInvalidParameter = 1,  ///< nothing was tried
        ErrorCouldNotConnect = 2,   ///< no such host, refused, no way, or the time was over
        ErrorInternal = 3,
    };

    Result result = ErrorInternal;
    IpAddress localAddress;        ///< empty unless the connection was made
    IpAddress destinationAddress;  ///< the same; that of the proxy if the connection went through one
};

/// The value's name, or its number if it is none of these.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, ConnectionInformationResult::Result result);
/// "Result Success, localAddress <a>, destinationAddress <a>", fit for a log: the addresses are hidden.
ZEBNETUTILS_EXPORT std::ostream& operator<<(std::ostream& stream, const ConnectionInformationResult& result);

}  // namespace zeb::ip

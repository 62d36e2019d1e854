#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::version {

/// Says which build of the library this is. The values are fixed when the build is configured. Any thread.
class ZEBNETUTILS_EXPORT Version {
public:
    /// The banner: branch, commit, version numbers and build time, one per line, framed. With `log` it is
    /// also written to the "zeb.netutils.version" logger at information level.
    static std::string printVersion(bool log);
    /// The same; only the first call in the process logs.
    static std::string printVersion();
};

}  // namespace zeb::version

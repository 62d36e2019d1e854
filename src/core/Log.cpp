#include "core/Log.h"

namespace zeb::log {

#define ZEB_LOGGER(function, name)                                  \
    ZEBLogger* function() {                                         \
        static ZEBLogger* const logger = ZEBLogger_getLogger(name); \
        return logger;                                              \
    }

ZEB_LOGGER(netutils, "zeb.netutils")
ZEB_LOGGER(version, "zeb.netutils.version")
ZEB_LOGGER(common, "zeb.common")
ZEB_LOGGER(ip, "zeb.ip")
ZEB_LOGGER(http, "zeb.http")
ZEB_LOGGER(httpClient, "zeb.httpclient")
ZEB_LOGGER(cert, "zeb.cert")
ZEB_LOGGER(dns, "zeb.dns")

#undef ZEB_LOGGER

}  // namespace zeb::log

#pragma once

#include "zeblogger/ZEBLogger.h"

#include <sstream>

/// The library's one form of a log line: ZEB_LOG_INFO(zeb::log::httpClient(), "Request " << id). The
/// expression behind the logger is evaluated only when the level is enabled.
#define ZEB_LOG(logger, level, expression)                                                  \
    do {                                                                                    \
        ::ZEBLogger* const zebLogger_ = (logger);                                           \
        if (::ZEBLog_isEnabled(zebLogger_, (level))) {                                      \
            std::ostringstream zebLine_;                                                    \
            zebLine_ << expression; /* NOLINT(bugprone-macro-parentheses): a chain of << */ \
            ::ZEBLog(zebLogger_, (level), __FILE__, __LINE__, zebLine_.str());              \
        }                                                                                   \
    } while (false)

#define ZEB_LOG_ERROR(logger, expression) ZEB_LOG(logger, ZEBLOG_ERROR, expression)
#define ZEB_LOG_WARNING(logger, expression) ZEB_LOG(logger, ZEBLOG_WARNING, expression)
#define ZEB_LOG_INFO(logger, expression) ZEB_LOG(logger, ZEBLOG_INFO, expression)
#define ZEB_LOG_DEBUG(logger, expression) ZEB_LOG(logger, ZEBLOG_DEBUG, expression)
#define ZEB_LOG_TRACE(logger, expression) ZEB_LOG(logger, ZEBLOG_TRACE, expression)

namespace zeb::log {

/// One logger per area; each is looked up once.
ZEBLogger* netutils();    ///< "zeb.netutils"
ZEBLogger* version();     ///< "zeb.netutils.version"
ZEBLogger* common();      ///< "zeb.common"
ZEBLogger* ip();          ///< "zeb.ip"
ZEBLogger* http();        ///< "zeb.http"
ZEBLogger* httpClient();  ///< "zeb.httpclient"
ZEBLogger* cert();        ///< "zeb.cert"
ZEBLogger* dns();         ///< "zeb.dns"

}  // namespace zeb::log

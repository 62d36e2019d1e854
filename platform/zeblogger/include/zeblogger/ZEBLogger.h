#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#define ZEBLOGGER_EXPORT __attribute__((visibility("default")))

/// The logging library of the client: one named logger per area, levels by number, one sink that the host
/// may replace. A host that has a logging library of its own provides these symbols in its place.
///
/// Every operation may be called from any thread, at any time, also while the process ends; none throws.

/// The levels. A line is written when its level is not above the logger's.
enum ZEBLogLevel : int {
    ZEBLOG_ERROR = 2,
    ZEBLOG_WARNING = 3,
    ZEBLOG_INFO = 4,
    ZEBLOG_DEBUG = 5,
    ZEBLOG_TRACE = 6,
};

/// Opaque: one per name, made on first use, never destroyed.
struct ZEBLogger;

/// The logger of that name; a null name is the empty one. Never null.
ZEBLOGGER_EXPORT ZEBLogger* ZEBLogger_getLogger(const char* name);

/// True when a line of that level would be written. A null logger is never enabled. Costs one atomic read.
ZEBLOGGER_EXPORT bool ZEBLog_isEnabled(const ZEBLogger* logger, int level);
ZEBLOGGER_EXPORT bool ZEBLog_isDebugEnabled(const ZEBLogger* logger);
ZEBLOGGER_EXPORT bool ZEBLog_isTraceEnabled(const ZEBLogger* logger);

/// Writes one line to the sink, if the level is enabled. `file` may be null. A line break inside the message
/// is kept; control characters that could forge another line's beginning are the sink's business.
ZEBLOGGER_EXPORT void ZEBLog(ZEBLogger* logger, int level, const char* file, int line,
                             std::string_view message);

/// Stands in a log for a host name, a user name or a URL: hides the text, yet gives the same answer for the
/// same text throughout one run of the process, so that a reader can match two lines about one host. It is a
/// digest keyed with a random key that never leaves the process; "<hidden>" for every text when there is no
/// randomness.
ZEBLOGGER_EXPORT std::string ZEBLogger_replacePIIData(const std::string& text);

/// Returns when everything written so far has reached the sink.
ZEBLOGGER_EXPORT void ZEBLogger_flush();

/// How the host governs the logging of the process.
class ZEBLOGGER_EXPORT LogController {
public:
    /// One line, as a sink gets it. The views are valid during the call only.
    struct Record {
        std::string_view logger;
        int level;
        const char* file;  ///< may be null
        int line;
        std::string_view message;
    };
    /// Called on the thread that logs, with no lock held, so several threads may be in it at once. What it
    /// throws is swallowed. It may log itself.
    using Sink = std::function<void(const Record&)>;

    static std::shared_ptr<LogController> getInstance();

    LogController(const LogController&) = delete;
    LogController& operator=(const LogController&) = delete;

    /// The level of all loggers, those made later too. Initially ZEBLOG_WARNING; 0 writes nothing at all.
    void setLevel(int level);
    /// The level of one logger alone, made if need be. The next setLevel(int) overrides it.
    void setLevel(const std::string& logger, int level);
    int getLevel() const;

    /// Where lines go. An empty function brings back the first sink: standard error.
    void setSink(Sink sink);

private:
    LogController() = default;
};

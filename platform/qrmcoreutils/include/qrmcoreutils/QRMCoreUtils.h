#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

#define QRMCOREUTILS_EXPORT __attribute__((visibility("default")))

namespace zeb {
class Task;
}

/// The core utilities of the client that the networking library uses. A host that has such a library of its
/// own provides these symbols in its place. Nothing here throws, unless memory runs out.
namespace QRMCoreUtils {

class QRMCOREUTILS_EXPORT ThreadUtils {
public:
    /// Runs the task on the shared pool of the process and returns at once. Tasks may run at the same time
    /// and in any order. A null task is ignored.
    static void runInThreadPool(std::shared_ptr<zeb::Task> task);
    /// The same for a function; the name shows on the thread while it runs. An empty function is ignored.
    static void runInThreadPool(std::function<void()> function, const std::string& name);
};

class QRMCOREUTILS_EXPORT FileUtils {
public:
    /// Where the client keeps its state, without a separator at the end: "zebnetutils" in $XDG_CONFIG_HOME if
    /// that is an absolute path, else in $HOME/.config, else in .config of the user's home directory. Made
    /// (mode 0700) if it isn't there. Empty when it can't be made.
    static std::string getConfigDirectory();
    static std::string FileSeparator();
    /// True for an existing file that is no directory.
    static bool fileExists(const std::string& path);
};

class QRMCOREUTILS_EXPORT TimeUtils {
public:
    /// Seconds since the epoch.
    static std::int64_t getCurrentTimeInSeconds();
};

class QRMCOREUTILS_EXPORT SystemUtils {
public:
    /// What the client calls itself towards HTTP servers.
    static std::string getHttpUserAgent();
    /// For the host, before its first request; an empty text brings the default back.
    static void setHttpUserAgent(const std::string& userAgent);
};

/// The letters A to Z count as a to z; no locale matters.
QRMCOREUTILS_EXPORT bool caseInsensitiveStringEquals(const std::string& left, const std::string& right);
QRMCOREUTILS_EXPORT std::string toUppercase(const std::string& text);
QRMCOREUTILS_EXPORT bool startsWith(const std::string& text, const std::string& prefix);
/// The decimal number that the text begins with, blanks before it skipped; 0 when there is none, the nearest
/// bound when it is out of range.
QRMCOREUTILS_EXPORT long toLong(const std::string& text);

/// The stream form of a value.
template <typename T>
std::string toString(const T& value) {
    std::ostringstream stream;
    stream << value;
    return stream.str();
}

}  // namespace QRMCoreUtils

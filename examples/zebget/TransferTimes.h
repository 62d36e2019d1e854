#pragma once

#include "zeblogger/ZEBLogger.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zebget {

/// How long each step of each transfer took. The library tells that in its log, at debug level, and nowhere
/// else; so a host that wants to know takes the log's place.
class TransferTimes {
public:
    /// From now on the log comes here. What else is in it goes on to standard error if `verbose`, but for
    /// what is of debug level.
    static std::shared_ptr<TransferTimes> listen(bool verbose);

    /// One line for each transfer that has ended since, in the order of their ends.
    std::vector<std::string> lines() const;

    /// "Request #1: connected after 0.4 ms, ..."; empty for a line of the log that tells no times. They count
    /// from the transfer's beginning. A step that there was none of, or whose time is unknown, is left out:
    /// without TLS there is no handshake, and on a connection that was open already only the transfer itself.
    static std::string lineOf(std::string_view message);

private:
    void take(const LogController::Record& record, bool verbose);

    mutable std::mutex mutex_;  ///< guards lines_: several threads log at once
    std::vector<std::string> lines_;
};

}  // namespace zebget

#include "TransferTimes.h"

#include <array>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <utility>

namespace zebget {

namespace {

constexpr char LOGGER[] = "zeb.httpclient";
constexpr std::string_view TIMES = " network IO timestamps: [";
constexpr double MS_PER_SECOND = 1000;

struct Step {
    const char* logged;
    const char* told;
};

constexpr std::array<Step, 6> STEPS = {{
    {"[redirect = ", "redirected for "},
    {"[name lookup = ", "name looked up after "},
    {"[connect = ", "connected after "},
    {"[ssl connect = ", "TLS ready after "},
    {"[start-transfer = ", "first byte after "},
    {"[total = ", "all after "},
}};

/// The seconds behind that name in "[a = 1 ; b = 2]"; 0 when there is no number.
double secondsOf(const std::string& times, const std::string& name) {
    std::size_t at = times.find(name);
    if (at == std::string::npos) {
        at = times.find(" ; " + name.substr(1));
        at = at == std::string::npos ? at : at + 2;
    }
    return at == std::string::npos ? 0 : std::strtod(times.c_str() + at + name.size(), nullptr);
}

}  // namespace

std::shared_ptr<TransferTimes> TransferTimes::listen(bool verbose) {
    auto times = std::make_shared<TransferTimes>();
    const std::shared_ptr<LogController> controller = LogController::getInstance();
    controller->setSink(
        [times, verbose](const LogController::Record& record) { times->take(record, verbose); });
    controller->setLevel(LOGGER, ZEBLOG_DEBUG);
    return times;
}

void TransferTimes::take(const LogController::Record& record, bool verbose) {
    if (verbose && record.level < ZEBLOG_DEBUG) {
        std::ostringstream line;
        line << "[" << record.logger << "] " << record.message << "\n";
        std::cerr << line.str();
    }
    std::string line = lineOf(record.message);
    if (!line.empty()) {
        const std::lock_guard<std::mutex> lock(mutex_);
        lines_.push_back(std::move(line));
    }
}

std::vector<std::string> TransferTimes::lines() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
}

std::string TransferTimes::lineOf(std::string_view message) {
    const std::size_t begin = message.find(TIMES);
    if (begin == std::string_view::npos) {
        return {};
    }
    const std::string times(message.substr(begin + TIMES.size() - 1));
    std::ostringstream line;
    line << message.substr(0, begin) << std::fixed << std::setprecision(1);
    const char* separator = ": ";
    for (const Step& step : STEPS) {
        if (const double seconds = secondsOf(times, step.logged); seconds > 0) {
            line << separator << step.told << seconds * MS_PER_SECOND << " ms";
            separator = ", ";
        }
    }
    return line.str();
}

}  // namespace zebget

#include "version/Version.h"

#include "core/Log.h"
#include "version/BuildInfo.h"

#include <atomic>
#include <iomanip>
#include <sstream>

namespace zeb::version {

namespace {

const char* const RULE = "*--------------------------------------*";
constexpr int LABEL_WIDTH = 20;

struct Field {
    const char* label;
    const char* value;
};

constexpr Field FIELDS[] = {
    {"Branch:", ZEB_BUILD_BRANCH},
    {"Commit:", ZEB_BUILD_COMMIT},
    {"Major Version:", ZEB_BUILD_VERSION_MAJOR},
    {"Minor Version:", ZEB_BUILD_VERSION_MINOR},
    {"Build Version:", ZEB_BUILD_VERSION_BUILD},
    {"Build Time:", ZEB_BUILD_TIME},
};

std::atomic<bool> firstCall{true};

}  // namespace

std::string Version::printVersion(bool log) {
    std::ostringstream banner;
    banner << '\n' << RULE << "\n|\t\tZEB NetUtils\n";
    for (const Field& field : FIELDS) {
        banner << "|\t" << std::left << std::setw(LABEL_WIDTH) << field.label << field.value << '\n';
    }
    banner << RULE;
    if (log) {
        ZEB_LOG_INFO(zeb::log::version(), banner.str());
    }
    return banner.str();
}

std::string Version::printVersion() {
    return printVersion(firstCall.exchange(false));
}

}  // namespace zeb::version

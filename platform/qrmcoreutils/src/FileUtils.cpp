#include "qrmcoreutils/QRMCoreUtils.h"

#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace QRMCoreUtils {

namespace {

namespace fs = std::filesystem;

/// The value if it is an absolute path, else an empty one: the XDG rules have a relative path ignored.
fs::path absolutePathFromEnvironment(const char* variable) {
    const char* const value = std::getenv(variable);
    const fs::path path = value == nullptr ? "" : value;
    return path.is_absolute() ? path : fs::path();
}

fs::path homeDirectoryOfUser() {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr ||
        found->pw_dir == nullptr) {
        return {};
    }
    return found->pw_dir;
}

/// $XDG_CONFIG_HOME or what stands for it; empty when there is no home at all.
fs::path configHome() {
    fs::path configured = absolutePathFromEnvironment("XDG_CONFIG_HOME");
    if (!configured.empty()) {
        return configured;
    }
    fs::path home = absolutePathFromEnvironment("HOME");
    if (home.empty()) {
        home = homeDirectoryOfUser();
    }
    return home.is_absolute() ? home / ".config" : fs::path();
}

/// Makes what is missing, each level with mode 0700 from the start: never open to others for a moment.
bool makePrivateDirectories(const fs::path& directory) {
    std::error_code error;
    if (fs::is_directory(directory, error)) {
        return true;
    }
    if (directory.has_relative_path() && !makePrivateDirectories(directory.parent_path())) {
        return false;
    }
    // A second process may have been faster.
    return ::mkdir(directory.c_str(), S_IRWXU) == 0 || fs::is_directory(directory, error);
}

}  // namespace

std::string FileUtils::getConfigDirectory() {
    const fs::path home = configHome();
    if (home.empty()) {
        return "";
    }
    const fs::path directory = home / "zebnetutils";
    return makePrivateDirectories(directory) ? directory.string() : "";
}

std::string FileUtils::FileSeparator() {
    return "/";
}

bool FileUtils::fileExists(const std::string& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    return fs::exists(status) && !fs::is_directory(status);
}

}  // namespace QRMCoreUtils

#pragma once

#include "core/SecureString.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zebget {

/// What the user typed.
struct Arguments {
    std::string url;
    std::vector<std::string> failoverUrls;
    std::optional<std::string> postFile;
    std::optional<std::string> downloadTo;
    std::optional<std::string> uploadFile;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string user;  ///< empty: no authentication
    zeb::SecureString password;
    bool async = false;
    bool verbose = false;
};

/// Null when there is nothing to do: the help has been shown, or what is wrong has been said; `exitStatus` is
/// then the status to end with. Asks for the password on the terminal when --user has none.
std::unique_ptr<Arguments> parseArguments(int argc, char** argv, int& exitStatus);

}  // namespace zebget

#pragma once

#include "CertificatePrompt.h"
#include "core/SecureString.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zeb::http {
class Proxy;
}

namespace zebget {

/// What the user typed.
struct Arguments {
    std::vector<std::string> urls;  ///< at least one, but with a multiFile
    std::vector<std::string> failoverUrls;
    std::optional<std::string> postFile;
    std::optional<std::string> downloadTo;
    std::optional<std::string> uploadFile;
    std::optional<std::string> multiFile;  ///< a list of URLs, in place of those
    std::size_t atATime = 10;              ///< of that list
    std::vector<std::pair<std::string, std::string>> headers;
    std::string user;  ///< empty: no authentication
    zeb::SecureString password;
    zeb::SecureString bearer;                               ///< empty: none
    std::vector<std::pair<std::string, std::string>> form;  ///< "@file" as a value: the file
    std::vector<std::pair<std::string, std::string>> cookies;
    std::shared_ptr<zeb::http::Proxy> proxy;  ///< null: none of its own
    std::string proxyUser;
    zeb::SecureString proxyPassword;  ///< empty: ask when the proxy asks
    InsecurePolicy insecurePolicy = InsecurePolicy::PROMPT;
    bool systemProxy = false;
    bool noFollow = false;
    bool progress = false;
    bool timing = false;
    bool async = false;
    bool verbose = false;
};

/// Null when there is nothing to do: the help has been shown, or what is wrong has been said; `exitStatus` is
/// then the status to end with. Asks for the password on the terminal when --user has none.
std::unique_ptr<Arguments> parseArguments(int argc, char** argv, int& exitStatus);

}  // namespace zebget

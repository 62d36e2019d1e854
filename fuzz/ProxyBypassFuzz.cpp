#include "Require.h"
#include "http/ProxyBypassReader.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using zeb::http::ProxyBypassReader;

namespace {

constexpr std::size_t MAX_COMPARED = 64;  ///< the comparison is slow, on purpose so simple that it is right

std::string lower(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

bool isPlain(const std::string& text) {
    return text.size() <= MAX_COMPARED && std::all_of(text.begin(), text.end(), [](char c) {
               return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '*' || c == '-';
           });
}

/// "*" stands for anything, each other character for itself.
bool isGlobMatch(const std::string& glob, const std::string& name) {
    std::vector<bool> reached(name.size() + 1);
    reached[0] = true;
    for (const char c : glob) {
        std::vector<bool> next(name.size() + 1);
        for (std::size_t i = 0; i <= name.size(); ++i) {
            next[i] =
                c == '*' ? reached[i] || (i > 0 && next[i - 1]) : i > 0 && reached[i - 1] && name[i - 1] == c;
        }
        reached = next;
    }
    return reached[name.size()];
}

bool isBelow(const std::string& domain, const std::string& name) {
    const std::string tail = "." + domain;
    return name.size() > domain.size() && name.size() >= tail.size() &&
           name.compare(name.size() - tail.size(), tail.size(), tail) == 0;
}

void check(const std::string& list, const std::string& host) {
    ProxyBypassReader reader(list);
    const bool required = reader.isProxyRequired(host);
    const std::vector<std::string> tokens = reader.getBypassListTokens();
    for (const std::string& token : tokens) {
        ZEB_REQUIRE(!token.empty());
        ZEB_REQUIRE(token.find_first_of(";, ") == std::string::npos);
    }
    if (host.empty() || tokens.empty()) {
        ZEB_REQUIRE(required);
        return;
    }
    if (!isPlain(host) || !std::all_of(tokens.begin(), tokens.end(), isPlain)) {
        return;
    }
    ZEB_REQUIRE(required == std::none_of(tokens.begin(), tokens.end(), [&host](const std::string& token) {
                    return isBelow(lower(token), lower(host)) || isGlobMatch(lower(token), lower(host));
                }));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    LogController::getInstance()->setLevel(0);
    return 0;
}

/// The first line is the host, the rest the list.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    check(input.substr(std::min(end + 1, input.size())), input.substr(0, end));
    return 0;
}

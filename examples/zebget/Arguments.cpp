#include "Arguments.h"

#include "core/SecureStringUtils.h"

#include <cstdio>
#include <iostream>
#include <termios.h>
#include <unistd.h>

#include <CLI/CLI.hpp>

namespace zebget {

namespace {

/// Reads a line from the terminal without showing it.
zeb::SecureString askForPassword(const std::string& user) {
    std::string line;
    termios shown{};
    const bool terminal = tcgetattr(STDIN_FILENO, &shown) == 0;
    if (terminal) {
        termios hidden = shown;
        hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        std::cerr << "Password for " << user << ": " << std::flush;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    std::getline(std::cin, line);
    if (terminal) {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
        std::cerr << "\n";
    }
    zeb::SecureString password(line);
    zeb::SecureStringUtils::ZEBZeroString(line);
    return password;
}

/// "user" or "user:password".
void setUser(Arguments& arguments, std::string& text) {
    const std::size_t colon = text.find(':');
    arguments.user = text.substr(0, colon);
    if (colon == std::string::npos) {
        arguments.password = askForPassword(arguments.user);
    } else {
        arguments.password = zeb::SecureString(text.data() + colon + 1, text.size() - colon - 1);
    }
    zeb::SecureStringUtils::ZEBZeroString(text);
}

std::pair<std::string, std::string> splitHeader(const std::string& text) {
    const std::size_t colon = text.find(':');
    const std::size_t value = text.find_first_not_of(' ', colon == std::string::npos ? colon : colon + 1);
    return {text.substr(0, colon), value == std::string::npos ? "" : text.substr(value)};
}

std::string checkHeader(const std::string& text) {
    const std::size_t colon = text.find(':');
    return colon == std::string::npos || colon == 0 ? "'" + text + "' is not of the form 'Name: value'" : "";
}

}  // namespace

std::unique_ptr<Arguments> parseArguments(int argc, char** argv, int& exitStatus) {
    CLI::App app(
        "Gets, posts, downloads or uploads one URL. The body goes to standard output, all else to standard "
        "error.\nThe exit status is 0 only if an answer came, whatever its HTTP status; else the number of "
        "the "
        "result.");
    app.name("zebget");
    auto arguments = std::make_unique<Arguments>();
    std::vector<std::string> headers;
    std::string user;

    app.add_option("url", arguments->url, "What to ask for")->required()->type_name("URL");
    auto* const post = app.add_option("--post", arguments->postFile, "POST with this file as the body");
    auto* const download =
        app.add_option("--download", arguments->downloadTo, "GET into this file, with progress");
    auto* const upload = app.add_option("--upload", arguments->uploadFile, "PUT this file, with progress");
    app.add_option("--header", headers, "A request header, 'Name: value'")->check(checkHeader);
    app.add_option("--user", user, "Basic authentication as USER[:PASSWORD]; asks for a missing password")
        ->type_name("USER");
    app.add_option("--failover", arguments->failoverUrls, "Where to go on if the URL before fails")
        ->type_name("URL");
    app.add_flag("--async", arguments->async, "As a task on the client's pool rather than on this thread");
    app.add_flag("-v,--verbose", arguments->verbose, "Shows what the library logs");
    for (CLI::Option* const file : {post, upload}) {
        file->type_name("FILE")->check(CLI::ExistingFile);
    }
    download->type_name("FILE");
    post->excludes(download)->excludes(upload);
    download->excludes(upload);
    for (const char* const repeatable : {"--header", "--failover"}) {
        // Each use takes one value, so that the URL may follow it.
        app.get_option(repeatable)->allow_extra_args(false);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& end) {
        exitStatus = app.exit(end);
        return nullptr;
    }
    for (const std::string& header : headers) {
        arguments->headers.push_back(splitHeader(header));
    }
    if (!user.empty()) {
        setUser(*arguments, user);
    }
    return arguments;
}

}  // namespace zebget

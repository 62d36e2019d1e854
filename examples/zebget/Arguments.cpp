#include "Arguments.h"

#include "Password.h"
#include "Proxies.h"
#include "core/SecureStringUtils.h"
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"

#include <map>

#include <CLI/CLI.hpp>

namespace zebget {

namespace {

const std::map<std::string, InsecurePolicy> INSECURE_POLICIES{
    {"fail", InsecurePolicy::FAIL},
    {"succeed", InsecurePolicy::SUCCEED},
    {"notify", InsecurePolicy::NOTIFY},
    {"prompt", InsecurePolicy::PROMPT},
};

/// "user" or "user:password", which is then wiped.
void splitUser(std::string& text, std::string& user, zeb::SecureString& password) {
    const std::size_t colon = text.find(':');
    user = text.substr(0, colon);
    if (colon != std::string::npos) {
        password = zeb::SecureString(text.data() + colon + 1, text.size() - colon - 1);
    }
    zeb::SecureStringUtils::ZEBZeroString(text);
}

std::pair<std::string, std::string> splitPair(const std::string& text) {
    const std::size_t equals = text.find('=');
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::string checkPair(const std::string& text) {
    const std::size_t equals = text.find('=');
    return equals == std::string::npos || equals == 0 ? "'" + text + "' is not of the form 'name=value'" : "";
}

std::string checkProxy(const std::string& text) {
    return makeProxy(text) == nullptr ? "'" + text + "' is not of the form '[SCHEME://]HOST:PORT'" : "";
}

std::string checkSystemProxy(const std::string& /*given*/) {
    return makeSystemProxyResolver() == nullptr ? "zebget was built without libproxy" : "";
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
        "Gets, posts, downloads or uploads one URL, or gets several at once. The bodies go to standard "
        "output, all "
        "else to standard error.\nThe exit status is 0 only if every answer came, whatever its HTTP status; "
        "else "
        "the number of the first other result.");
    app.name("zebget");
    auto arguments = std::make_unique<Arguments>();
    std::vector<std::string> headers;
    std::vector<std::string> form;
    std::vector<std::string> cookies;
    std::string user;
    std::string proxy;
    std::string proxyUser;
    std::string bearer;

    auto* const url = app.add_option("url", arguments->urls, "What to ask for; several are asked for at once")
                          ->type_name("URL...");
    auto* const multi =
        app.add_option("--multi", arguments->multiFile,
                       "Asks for every URL of this list ('-': standard input), several at a time; one line "
                       "each: result, status, time, size, URL")
            ->type_name("FILE")
            ->excludes(url);
    app.add_option("--at-a-time", arguments->atATime, "How many of the list at a time (10)")
        ->type_name("N")
        ->check(CLI::Range(1, 10000))
        ->needs(multi);
    auto* const post = app.add_option("--post", arguments->postFile, "POST with this file as the body");
    auto* const download =
        app.add_option("--download", arguments->downloadTo, "GET into this file, with progress");
    auto* const upload = app.add_option("--upload", arguments->uploadFile, "PUT this file, with progress");
    app.add_option("--header", headers, "A request header, 'Name: value'")->check(checkHeader);
    auto* const formOption =
        app.add_option("--form", form, "POST a form with this part; name=@FILE sends the file")
            ->type_name("NAME=VALUE")
            ->check(checkPair);
    app.add_option("--cookie", cookies, "A cookie for the URL's host")
        ->type_name("NAME=VALUE")
        ->check(checkPair);
    auto* const bearerOption =
        app.add_option("--bearer", bearer, "Authentication by a token")->type_name("TOKEN");
    auto* const proxyOption =
        app.add_option("--proxy", proxy, "By way of this proxy: http, socks4, socks4a, socks5, socks5h")
            ->type_name("[SCHEME://]HOST:PORT")
            ->check(checkProxy);
    app.add_flag("--system-proxy", arguments->systemProxy, "By way of the proxy of the system's settings")
        ->excludes(proxyOption)
        ->check(checkSystemProxy);
    app.add_option("--proxy-user", proxyUser, "USER[:PASSWORD] for a proxy that asks; asks for the password")
        ->type_name("USER");
    app.add_option("--insecure-policy", arguments->insecurePolicy,
                   "What to do about a certificate that is not good: fail, succeed, notify (warn and go on), "
                   "prompt (ask; the default, which rejects where there is no terminal)")
        ->type_name("WHAT")
        ->transform(CLI::CheckedTransformer(INSECURE_POLICIES).description(""));
    app.add_flag("--no-follow", arguments->noFollow, "Redirects are answers");
    app.add_flag("--progress", arguments->progress, "Shows the progress, also where there is no terminal");
    app.add_flag("--timing", arguments->timing, "Tells how long it took, and each step of it");
    auto* const userOption =
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
    multi->excludes(post)->excludes(download)->excludes(upload)->excludes(formOption);
    post->excludes(download)->excludes(upload)->excludes(formOption);
    download->excludes(upload);
    formOption->excludes(upload);
    userOption->excludes(bearerOption);
    for (const char* const repeatable : {"--header", "--failover", "--form", "--cookie"}) {
        // Each use takes one value, so that the URL may follow it.
        app.get_option(repeatable)->allow_extra_args(false);
    }
    try {
        app.parse(argc, argv);
        if (!arguments->multiFile && arguments->urls.empty()) {
            throw CLI::RequiredError("url");
        }
    } catch (const CLI::ParseError& end) {
        exitStatus = app.exit(end);
        return nullptr;
    }
    if (arguments->urls.size() > 1 && (arguments->downloadTo || arguments->uploadFile)) {
        exitStatus = app.exit(CLI::ValidationError("A file is for one URL"));
        return nullptr;
    }
    for (const std::string& header : headers) {
        arguments->headers.push_back(splitHeader(header));
    }
    for (const std::string& part : form) {
        arguments->form.push_back(splitPair(part));
    }
    for (const std::string& cookie : cookies) {
        arguments->cookies.push_back(splitPair(cookie));
    }
    if (!proxy.empty()) {
        arguments->proxy = makeProxy(proxy);
    }
    splitUser(proxyUser, arguments->proxyUser, arguments->proxyPassword);
    splitUser(user, arguments->user, arguments->password);
    if (!arguments->user.empty() && arguments->password.empty()) {
        arguments->password = askForPassword(arguments->user);
    }
    arguments->bearer = zeb::SecureString(bearer);
    zeb::SecureStringUtils::ZEBZeroString(bearer);
    return arguments;
}

}  // namespace zebget

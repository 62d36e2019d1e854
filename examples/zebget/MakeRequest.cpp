#include "MakeRequest.h"

#include "Arguments.h"
#include "Proxies.h"
#include "http/HttpRequestOptions.h"
#include "http/HttpUtils.h"
#include "http/MultiformRequest.h"
#include "http/Proxy.h"
#include "http/SystemProxyResolver.h"

#include <fstream>
#include <iterator>
#include <string>

namespace zebget {

using zeb::http::HttpRequestOptions;
using zeb::http::MultiformRequest;
using zeb::http::Request;

namespace {

zeb::SafeBuffer readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return {content.data(), content.size()};
}

void setCredentials(const Arguments& arguments, HttpRequestOptions& options) {
    options.credentials = std::make_shared<zeb::http::Credentials>();
    if (!arguments.user.empty()) {
        options.authType = zeb::http::AuthType::BASIC;
        options.credentials->username = arguments.user;
        options.credentials->password = arguments.password;
    } else if (!arguments.bearer.empty()) {
        options.authType = zeb::http::AuthType::OAUTH;
        options.credentials->token = arguments.bearer;
    }
}

/// A cookie comes in the form of a cookie file: for this host alone, all paths, http as well as https, no
/// end.
void addCookies(const Arguments& arguments, const std::string& url, HttpRequestOptions& options) {
    const std::string host = zeb::http::HttpUtils::extractHostFromHttpUrl(url);
    for (const auto& [name, value] : arguments.cookies) {
        std::string line = host + "\tFALSE\t/\tFALSE\t0\t";
        line.append(name).append("\t").append(value);
        options.cookies.emplace_back(line);
    }
}

void addForm(const Arguments& arguments, MultiformRequest& request) {
    for (const auto& [name, value] : arguments.form) {
        if (value.rfind('@', 0) == 0) {
            request.addPartFromFile(name, value.substr(1), nullptr);
        } else {
            request.addPartFromString(name, value, nullptr);
        }
    }
}

void setProxy(const Arguments& arguments, Request& request) {
    request.setProxy(arguments.proxy);
    if (arguments.systemProxy) {
        request.useSystemProxy(true);
        request.setSystemProxyResolver(makeSystemProxyResolver());
    }
}

}  // namespace

std::shared_ptr<Request> makeRequest(const Arguments& arguments, const std::string& url) {
    // A request that may have a form; without parts it is one like any other.
    auto request = std::make_shared<MultiformRequest>(url);
    HttpRequestOptions& options = *request->getOptions();
    options.failoverUrls = arguments.failoverUrls;
    *options.headers = arguments.headers;
    options.followRedirects = !arguments.noFollow;
    if (arguments.postFile) {
        options.method = zeb::http::HttpMethod::POST;
        options.binaryBody = readFile(*arguments.postFile);
    } else if (!arguments.form.empty()) {
        options.method = zeb::http::HttpMethod::POST;
        addForm(arguments, *request);
    }
    setCredentials(arguments, options);
    addCookies(arguments, url, options);
    setProxy(arguments, *request);
    return request;
}

}  // namespace zebget

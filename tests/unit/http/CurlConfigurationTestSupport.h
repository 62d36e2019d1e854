#pragma once

#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/HttpRequestData.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "support/CurlOptionSpy.h"
#include "support/LogCapture.h"
#include "support/TestFiles.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <curl/curl.h>
#include <gmock/gmock.h>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZEB_TEST_HAS_LSAN
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(ZEB_TEST_HAS_LSAN)
#include <sanitizer/lsan_interface.h>
#define ZEB_TEST_LEAK(onOrOff) __lsan_##onOrOff()
#else
#define ZEB_TEST_LEAK(onOrOff) static_cast<void>(0)
#endif

namespace zeb::http::test {

/// A form's list is deliberately never released: what this thread makes meanwhile may stay behind.
class LeftBehindForm {
public:
    LeftBehindForm() { ZEB_TEST_LEAK(disable); }
    ~LeftBehindForm() { ZEB_TEST_LEAK(enable); }
    LeftBehindForm(const LeftBehindForm&) = delete;
    LeftBehindForm& operator=(const LeftBehindForm&) = delete;
};

inline std::vector<std::string> linesOf(const curl_slist* list) {
    std::vector<std::string> lines;
    for (; list != nullptr; list = list->next) {
        lines.emplace_back(list->data);
    }
    return lines;
}

/// One request with a handle of its own, and all that is set on that.
class CurlConfigurationTestBase : public testing::Test {
protected:
    static constexpr int ERROR = ZEBLOG_ERROR;
    static constexpr int INFO = ZEBLOG_INFO;
    static constexpr int DEBUG = ZEBLOG_DEBUG;

    explicit CurlConfigurationTestBase(const std::string& url = "https://server.example/page")
        : request(std::make_shared<Request>(url)), options(*request->getOptions()) {}

    /// Made once the test has filled in the options.
    const std::shared_ptr<HttpRequestData>& data() {
        if (data_ == nullptr) {
            data_ = withoutHandle();
            clientData_->provideEasyCURLConnection(*data_);
        }
        return data_;
    }
    std::shared_ptr<HttpRequestData> withoutHandle() {
        return std::make_shared<HttpRequestData>(request, nullptr);
    }
    void* handle() { return data()->getCurlConnection()->getHandle(); }
    bool configure() { return CurlHttpUtils::configureEasyRequest(data()); }
    void setFile(HTTPFileOperation::Method operation, const std::string& path) {
        data()->getWrapper().fileOperation = operation;
        data()->getWrapper().filePath = path;
    }
    void setCredentials(AuthType type) {
        options.authType = type;
        options.credentials = std::make_shared<Credentials>();
        options.credentials->username = "user";
        options.credentials->password = SecureString("pass:word");
        options.credentials->token = SecureString("t0ken");
    }

    bool isSet(int option) const { return spy.last(option).has_value(); }
    std::optional<long> number(int option) const {
        const auto call = spy.last(option);
        return call ? std::optional<long>(call->number()) : std::nullopt;
    }
    /// A text that libcurl copies.
    std::optional<std::string> text(int option) const {
        const auto call = spy.last(option);
        return call ? call->copy : std::nullopt;
    }
    void* pointer(int option) const {
        const auto call = spy.last(option);
        return call ? call->argument : nullptr;
    }
    template <typename Function>
    bool isFunction(int option, Function* function) const {
        return pointer(option) == reinterpret_cast<void*>(function);
    }
    std::vector<std::string> texts(int option) const {
        std::vector<std::string> all;
        for (const auto& call : spy.calls()) {
            if (call.option == option) {
                all.push_back(call.copy.value_or("<null>"));
            }
        }
        return all;
    }
    /// The options among these that were set, in the order in which they were.
    std::vector<int> orderOf(const std::vector<int>& watched) const {
        std::vector<int> order;
        for (const auto& call : spy.calls()) {
            if (std::find(watched.begin(), watched.end(), call.option) != watched.end()) {
                order.push_back(call.option);
            }
        }
        return order;
    }

private:
    const std::shared_ptr<HttpClientData> clientData_ = HttpClientData::build(nullptr, nullptr);
    std::shared_ptr<HttpRequestData> data_;

protected:
    const std::shared_ptr<Request> request;
    HttpRequestOptions& options;
    // Once all the others are made, so that these tell of the configuration alone.
    zeb::test::LogCapture log;
    zeb::test::CurlOptionSpy spy;
};

}  // namespace zeb::http::test

#include "support/CurlOptionSpy.h"

#include <atomic>
#include <cstdarg>
#include <dlfcn.h>

namespace zeb::test {

/// In a file of its own, as libcurl's header doesn't go with the function below.
bool takesText(int option);

namespace {

using SetOption = int (*)(void*, int, ...);

std::atomic<CurlOptionSpy*> current{nullptr};

SetOption libcurlsSetOption() {
    static const auto found = reinterpret_cast<SetOption>(::dlsym(RTLD_NEXT, "curl_easy_setopt"));
    return found;
}

}  // namespace

CurlOptionSpy::CurlOptionSpy() {
    current = this;
}

CurlOptionSpy::~CurlOptionSpy() {
    current = nullptr;
}

void CurlOptionSpy::fail(int option, int code) {
    const std::lock_guard<std::mutex> lock(mutex_);
    failingOption_ = option;
    failure_ = code;
}

std::vector<CurlOptionSpy::Call> CurlOptionSpy::calls() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

std::optional<CurlOptionSpy::Call> CurlOptionSpy::last(int option) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto call = calls_.rbegin(); call != calls_.rend(); ++call) {
        if (call->option == option) {
            return *call;
        }
    }
    return std::nullopt;
}

void CurlOptionSpy::addText(int option, const std::string& value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    addedTexts_[option] = value;
}

void CurlOptionSpy::addNumber(int option, long value) {
    const std::lock_guard<std::mutex> lock(mutex_);
    addedNumbers_[option] = value;
}

std::map<int, std::string> CurlOptionSpy::addedTexts() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return addedTexts_;
}

std::map<int, long> CurlOptionSpy::addedNumbers() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return addedNumbers_;
}

std::optional<int> CurlOptionSpy::note(Call call) {
    if (takesText(call.option) && call.argument != nullptr) {
        call.copy = call.text();
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    calls_.push_back(call);
    return call.option == failingOption_ ? std::optional<int>(failure_) : std::nullopt;
}

}  // namespace zeb::test

/// Stands before libcurl's own. Every type of argument that it takes has the size of a pointer here; its two
/// enumerations are passed like an int, which, unlike them, va_start may name.
extern "C" int curl_easy_setopt(void* handle, int option, ...) {
    static_assert(sizeof(long) == sizeof(void*));
    std::va_list arguments;
    va_start(arguments, option);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (zeb::test::CurlOptionSpy* const spy = zeb::test::current) {
        if (const std::optional<int> answer = spy->note({handle, option, argument})) {
            return *answer;
        }
    }
    return zeb::test::libcurlsSetOption()(handle, option, argument);
}

/// Likewise: with the options that a test has added.
extern "C" int curl_easy_perform(void* handle) {
    if (zeb::test::CurlOptionSpy* const spy = zeb::test::current) {
        for (const auto& [option, value] : spy->addedTexts()) {
            zeb::test::libcurlsSetOption()(handle, option, value.c_str());
        }
        for (const auto& [option, value] : spy->addedNumbers()) {
            zeb::test::libcurlsSetOption()(handle, option, value);
        }
    }
    using Perform = int (*)(void*);
    static const auto next = reinterpret_cast<Perform>(::dlsym(RTLD_NEXT, "curl_easy_perform"));
    return next(handle);
}

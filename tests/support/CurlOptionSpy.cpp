#include "support/CurlOptionSpy.h"

#include <atomic>
#include <cstdarg>
#include <dlfcn.h>

namespace zeb::test {

/// In a file of its own, as libcurl's header doesn't go with the function below.
bool takesText(int option);

namespace {

std::atomic<CurlOptionSpy*> current{nullptr};

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
    using SetOption = int (*)(void*, int, ...);
    static const auto next = reinterpret_cast<SetOption>(::dlsym(RTLD_NEXT, "curl_easy_setopt"));
    return next(handle, option, argument);
}

#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zeb::test {

/// Sees every curl_easy_setopt of the code under test while it lives, on all threads, and can make one
/// fail. What it doesn't fail reaches libcurl. One at a time, and only what is linked into the test's own
/// executable is seen.
class CurlOptionSpy {
public:
    struct Call {
        void* handle;
        int option;      ///< a CURLoption
        void* argument;  ///< of whatever type; a long as its bits
        /// A text that libcurl copies, as it was when it was given: the caller's may be gone by now.
        std::optional<std::string> copy = {};

        long number() const { return reinterpret_cast<long>(argument); }
        const char* text() const { return static_cast<const char*>(argument); }
    };

    CurlOptionSpy();
    ~CurlOptionSpy();
    CurlOptionSpy(const CurlOptionSpy&) = delete;
    CurlOptionSpy& operator=(const CurlOptionSpy&) = delete;

    /// From now on that option answers with that CURLcode, without libcurl.
    void fail(int option, int code);
    /// From now on a transfer has that option, too, as if the code under test had set it last. What the code
    /// itself never sets can so be tried on a handle that it has configured.
    void addText(int option, const std::string& value);
    void addNumber(int option, long value);
    /// All calls so far, in order, the failed ones too.
    std::vector<Call> calls() const;
    /// The last call of that option.
    std::optional<Call> last(int option) const;

    /// For the interposed functions: the options to add.
    std::map<int, std::string> addedTexts() const;
    std::map<int, long> addedNumbers() const;
    /// For the interposed function: notes the call and tells the code to answer with, if any.
    std::optional<int> note(Call call);

private:
    mutable std::mutex mutex_;  ///< guards what follows
    std::vector<Call> calls_;
    std::optional<int> failingOption_;
    int failure_ = 0;
    std::map<int, std::string> addedTexts_;
    std::map<int, long> addedNumbers_;
};

}  // namespace zeb::test

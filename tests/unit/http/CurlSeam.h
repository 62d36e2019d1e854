#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// Stands between the library and libcurl's functions for lists and handles: the linker sends their calls
/// here first (--wrap). What a test doesn't ask for goes through unchanged. One object of each class per
/// thread at a time; each sees its own thread only.
namespace zeb::http::test {

/// While it lives, the append with that number, from 0, fails.
class FailingSlistAppend {
public:
    explicit FailingSlistAppend(std::size_t number);
    ~FailingSlistAppend();
    FailingSlistAppend(const FailingSlistAppend&) = delete;
    FailingSlistAppend& operator=(const FailingSlistAppend&) = delete;
};

/// Sees the lists that are released while it lives.
class FreedSlists {
public:
    FreedSlists();
    ~FreedSlists();
    FreedSlists(const FreedSlists&) = delete;
    FreedSlists& operator=(const FreedSlists&) = delete;

    /// The entries as they were at their release, each as long as it was when it was appended. Entries from
    /// before this object's time are not seen.
    std::vector<std::string> entries() const;
};

/// While it lives, libcurl can make no handle, easy or multi.
class NoCurlHandles {
public:
    NoCurlHandles();
    ~NoCurlHandles();
    NoCurlHandles(const NoCurlHandles&) = delete;
    NoCurlHandles& operator=(const NoCurlHandles&) = delete;
};

/// While it lives, libcurl knows no effective URL of any handle, and says so without an error.
class NoEffectiveUrl {
public:
    NoEffectiveUrl();
    ~NoEffectiveUrl();
    NoEffectiveUrl(const NoEffectiveUrl&) = delete;
    NoEffectiveUrl& operator=(const NoEffectiveUrl&) = delete;
};

/// While it lives, libcurl can't tell that `CURLINFO` of any handle.
class FailingInfo {
public:
    explicit FailingInfo(int info);
    ~FailingInfo();
    FailingInfo(const FailingInfo&) = delete;
    FailingInfo& operator=(const FailingInfo&) = delete;
};

/// While it lives, libcurl has no memory for parts of a form.
class NoFormParts {
public:
    NoFormParts();
    ~NoFormParts();
    NoFormParts(const NoFormParts&) = delete;
    NoFormParts& operator=(const NoFormParts&) = delete;
};

/// Sees the options that are set on multi handles while it lives.
class MultiOptions {
public:
    MultiOptions();
    ~MultiOptions();
    MultiOptions(const MultiOptions&) = delete;
    MultiOptions& operator=(const MultiOptions&) = delete;

    /// Option and value of each number option, in order.
    std::vector<std::pair<int, long>> numbers() const;
};

}  // namespace zeb::http::test

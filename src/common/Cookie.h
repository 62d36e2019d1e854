#pragma once

#include "core/Export.h"
#include "core/SecureString.h"

#include <cstdint>
#include <string>

namespace zeb::common {

/// One cookie, as a line of libcurl's cookie list (the Netscape format: CURLINFO_COOKIELIST gives it,
/// CURLOPT_COOKIELIST takes it): seven fields with one tab between them, which are the domain, "TRUE" or
/// "FALSE" for the tail match, the path, "TRUE" or "FALSE" for secure, the expiration, the name, the value.
/// The value and the whole line are kept encrypted in memory; no log line ever shows either.
///
/// A plain value without a lock: many threads may read one object, none may write it meanwhile. Copies share
/// the encrypted texts, which are never changed in place: parse() on one copy leaves the others alone.
/// Nothing throws unless memory runs out.
class ZEBNETUTILS_EXPORT Cookie {
public:
    /// An empty cookie.
    Cookie() = default;
    /// The same as parse() on an empty cookie; a bad line leaves it empty.
    explicit Cookie(const std::string& rawFormat);

    /// Takes over a line. One of fewer than seven fields logs an error and changes nothing; a line that ends
    /// in a tab has no field behind it, so a cookie without a value is refused. Fields behind the seventh
    /// count for getRawFormat() only. The line should stand without a line break: one at its end is part of
    /// the value.
    ///
    /// A flag is true for "TRUE" in any case and false for everything else. The expiration is the number that
    /// its field begins with; 0 when there is none or it doesn't fit.
    ///
    /// No copy of the line or the value is left in clear; wiping `rawFormat` is the caller's.
    void parse(const std::string& rawFormat);

    /// True until a line was taken over.
    bool isEmpty() const;
    /// The line as it was given, in clear: the caller wipes it (SecureStringUtils::ZEBZeroString) after use.
    std::string getRawFormat() const;
    std::string getName() const;
    /// In clear: the caller wipes it (SecureStringUtils::ZEBZeroString) after use.
    std::string getValue() const;
    /// The domain field without the "#HttpOnly_" before it; with the dot before it, if it has one. A field
    /// with that mark in another place, which libcurl never writes, loses its first ten characters all the
    /// same.
    std::string getDomain() const;
    std::string getPath() const;
    /// True when hosts below the domain get the cookie, too.
    bool isTailMatchAllowed() const;
    bool isSecureConnectionRequired() const;
    /// Seconds since the epoch; 0 for a cookie that lasts as long as the session.
    std::int64_t getExpirationDate() const;

    /// Compares the whole lines.
    bool operator==(const Cookie& other) const;
    bool operator!=(const Cookie& other) const { return !(*this == other); }

private:
    SecureString raw_;
    std::string name_;
    SecureString value_;
    std::string domain_;  ///< with its prefix
    std::string path_;
    bool tailMatch_ = false;
    bool secure_ = false;
    std::int64_t expiration_ = 0;
};

}  // namespace zeb::common

#pragma once

#include "core/Export.h"

#include <string>
#include <vector>

namespace zeb::http {

/// Decides by a bypass list which hosts are reached without the proxy.
///
/// A token that isn't a plain name is an ECMAScript regular expression in which "." means itself and "*"
/// anything. One that is invalid is skipped, as are those that could cost unbounded stack or time: with more
/// than 512 characters, more than 4096 when its counted repetitions are written out, with look-aheads or
/// back-references. No pattern matches a host name of more than 1024 characters.
class ZEBNETUTILS_EXPORT ProxyBypassReader {
public:
    /// Tokens are separated by ";", "," or blanks.
    explicit ProxyBypassReader(const std::string& bypassList);
    virtual ~ProxyBypassReader();

    /// False when a token matches the host name: as the end of it behind a "." ("example.com" matches
    /// "a.example.com", not "example.com"), or as a pattern with "*" for the whole of it. Case does not
    /// matter.
    virtual bool isProxyRequired(const std::string& hostname);
    virtual std::vector<std::string> getBypassListTokens();
    /// Splits the list anew.
    virtual void setBypassListTokens();

private:
    const std::string bypassList_;
    std::vector<std::string> tokens_;
};

}  // namespace zeb::http

#pragma once

#include "core/Export.h"

#include <string>
#include <vector>

namespace zeb::http {

/// Decides by a bypass list which hosts are reached without the proxy.
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

#pragma once

#include "core/Export.h"
#include "http/HttpProxyConfigurationReader.h"

#include <memory>
#include <string>
#include <vector>

namespace zeb::http {

/// Finds the system's proxy by libproxy: from the environment (http_proxy, https_proxy, no_proxy ...), the
/// desktop's settings, PAC and WPAD, as far as libproxy's plugins for them are installed. A host that wants
/// it links this library and installs the reader by SystemProxyResolver::setHttpProxyConfigurationReader.
/// A variable may name a proxy, a PAC file ("pac+http://server/proxy.pac", "pac+file:///folder/proxy.pac") or
/// "wpad://": then the network tells, by the file at http://wpad/wpad.dat.
///
/// Any thread may ask. libproxy is asked by one thread at a time in the whole process, as not all of its
/// plugins are safe: a question waits while another one fetches a PAC file. That happens on the thread that
/// runs the request, before or after its transfer, never within one. libproxy stays loaded once it has been
/// asked.
class ZEBNETUTILS_EXPORT LibproxyConfigurationReader : public HttpProxyConfigurationReader {
public:
    LibproxyConfigurationReader();
    ~LibproxyConfigurationReader() override;
    LibproxyConfigurationReader(const LibproxyConfigurationReader&) = delete;
    LibproxyConfigurationReader& operator=(const LibproxyConfigurationReader&) = delete;

    /// Null when the URL needs no proxy, when it is empty, or when libproxy has no answer.
    std::shared_ptr<Proxy> getHttpProxyForUrl(const std::string& url) const override;

    /// What libproxy's answer means. The first entry of a known form decides, the others are for failovers,
    /// which a request has none of for its proxy; entries of other forms are left out. Null for "direct://"
    /// and when nothing is left.
    ///
    /// "http://" gives HTTP; "socks4://" SOCKS_4; "socks4a://" SOCKS_4A; "socks://" and "socks5://" SOCKS_5,
    /// which resolves names here; "socks5h://" SOCKS_5_HOSTNAME. The URL of a SOCKS proxy is "host:port",
    /// with port 1080 if none is given. "user:password@", percent-decoded, becomes the proxy's
    /// authentication, of scheme ANY, and stays out of the URL.
    static std::shared_ptr<Proxy> proxyFromEntries(const std::vector<std::string>& entries);
};

}  // namespace zeb::http

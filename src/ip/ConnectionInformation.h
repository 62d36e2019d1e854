#pragma once

#include "common/PolicyDriven.h"
#include "core/Export.h"
#include "ip/ConnectionInformationResult.h"
#include "ip/IpFamilyPreferencePolicy.h"

#include <memory>
#include <string>

namespace zeb::http {
class SystemProxyResolver;
}

namespace zeb::ip {

/// Answers one question by trying it: can a TCP connection be made to this host and port, and over which
/// addresses? No request is sent, and the connection ends with the call. Of the policies that of nature
/// IP_FAMILY_PREFERENCE is looked at.
class ZEBNETUTILS_EXPORT ConnectionInformation : public common::PolicyDriven {
public:
    /// One that follows the process's default policies.
    static std::shared_ptr<ConnectionInformation> buildConnectionInformation();
    /// One with the defaults of now and that policy, which stays as it is. Null is ignored.
    static std::shared_ptr<ConnectionInformation> buildConnectionInformationWithStaticPolicy(
        std::shared_ptr<common::Policy> policy);

    explicit ConnectionInformation(bool followDefaults);
    ~ConnectionInformation() override;

    /// Connects, and blocks for that, at most for about `timeoutSeconds` (0: as long as libcurl waits by
    /// itself). Any thread may call, several at the same time; nothing throws unless memory runs out.
    ///
    /// `host` is a name or an IP address without brackets, `port` 1 to 65535, `timeoutSeconds` at most the
    /// greatest signed number, all else is ErrorInvalidParameter. With `thruProxy` the connection goes to the
    /// proxy that libcurl finds in the environment, if the system has a proxy for the host; without,
    /// directly. IPV4_ONLY and IPV6_ONLY decide the IP family; with any other value the policy does, if there
    /// is one.
    ConnectionInformationResult getConnectionInformationForHost(
        const std::string& host, unsigned long port, unsigned long timeoutSeconds, bool thruProxy,
        IpFamilyPreferencePolicy::PolicyValue::Value policyValue);

protected:
    /// Who knows the system's proxy: asked once for each connection that may go through one. By default it
    /// knows of none; a derived class may bring one that has a reader. Null counts as no proxy.
    virtual std::shared_ptr<http::SystemProxyResolver> systemProxyResolver() const;

private:
    ConnectionInformationResult connect(const std::string& host, unsigned long port,
                                        unsigned long timeoutSeconds, bool thruProxy,
                                        IpFamilyPreferencePolicy::PolicyValue::Value policyValue) const;
    bool setCurlOptions(void* handle, const std::string& host, unsigned long port,
                        unsigned long timeoutSeconds, bool thruProxy) const;
    bool setProxyOption(void* handle, const std::string& host, bool thruProxy) const;
    bool hasSystemProxy(const std::string& host) const;
    bool setIpFamily(void* handle, IpFamilyPreferencePolicy::PolicyValue::Value policyValue) const;
    bool enforceIpFamilyPolicy(void* handle) const;
};

}  // namespace zeb::ip

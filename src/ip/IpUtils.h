#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::ip {

/// Checks and small operations on IP addresses and hosts held as text. Stateless; any thread may call;
/// nothing throws unless memory runs out.
class ZEBNETUTILS_EXPORT IpUtils {
public:
    IpUtils() = delete;

    /// True for a text that the system's resolver reads as a numeric address, without any look-up. This is
    /// wider than the dotted form: "127.1" is an IPv4 address, "fe80::1%lo" an IPv6 address. Brackets, ports
    /// and blanks make the answer false, and so does a NUL anywhere in the text.
    static bool isIpAddress(const std::string& text);
    static bool isIpv4Address(const std::string& text);
    static bool isIpv6Address(const std::string& text);

    /// "host:8443", "10.1.2.3:8443", "[2001:db8::1]:8443". Empty, with a warning, for what
    /// HostnameValidator::isValidHostname refuses (an IPv6 address that stands in brackets already, too) and
    /// for port 0.
    static std::string appendPortToAddress(const std::string& address, unsigned short port);
    /// The same for a port that came from elsewhere as a wider number: 65536 and above give an empty text and
    /// a warning.
    static std::string appendPortToAddress(const std::string& address, unsigned int port);

    /// The two ends of the last connection of a libcurl easy handle, as text. Both outputs are always
    /// written: with "" for a null handle, for a handle that never connected, and, with a logged error, for
    /// one that libcurl can't answer about. True if at least one isn't empty. Call it on the thread that
    /// drives the handle.
    static bool getIpAddressesFromCurl(void* handle, std::string& local, std::string& destination);
};

}  // namespace zeb::ip

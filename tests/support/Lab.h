#pragma once

#include <string>

#include <gtest/gtest.h>

/// The way of a test into the lab, the private network with its own servers that lab/README.md describes.
namespace zeb::test {

/// Skips the running test, and says why, unless it runs in the lab. Call it from SetUp: there a skipped
/// test's body is not run. (Called from a test's body it marks the test, but the body goes on.)
void requireLab();

/// A test that needs the lab.
class LabTest : public testing::Test {
protected:
    void SetUp() override { requireLab(); }
};

namespace lab {

// Hosts. Each is in the lab's hosts file, unknown() is not.
inline const std::string ORIGIN = "origin.lab.test";        ///< 127.0.0.1, every port of lab/README.md
inline const std::string WWW = "www.lab.test";              ///< the same server by another name
inline const std::string OTHER = "other.lab.test";          ///< 127.0.0.2, ports 80 and 443 only
inline const std::string DEAD = "dead.lab.test";            ///< refuses every connection
inline const std::string BLACKHOLE = "blackhole.lab.test";  ///< swallows every packet: connecting times out
inline const std::string UNROUTED = "unrouted.lab.test";    ///< has an address to which no way leads
inline const std::string UNKNOWN = "unknown.lab.test";      ///< has no address

inline const std::string USER = "alice";
inline const std::string PASSWORD =
    "wonderland";  ///< of USER for basic authentication; the bearer token, too
inline const std::string TEXT = "The quick answer of the lab.\n";  ///< the body of /text
inline constexpr long KIB = 1024;
inline constexpr long MIB = 1024 * KIB;
inline constexpr long HUNDRED = 100 * MIB;

/// "http://origin.lab.test" and the path, which begins with a slash.
std::string url(const std::string& path);
/// The same over https.
std::string secureUrl(const std::string& path);
/// The same at another host of the lab.
std::string url(const std::string& host, const std::string& path);
std::string secureUrl(const std::string& host, const std::string& path);
/// A page of the server that answers bytes which are no sound HTTP ("/garbage", "/half-head" ...).
std::string rawUrl(const std::string& path);

/// The proxies of the lab. They are there once startProxies() has been called.
inline const std::string SQUID = "proxy.lab.test:3128";       ///< asks for USER and PASSWORD
inline const std::string OPEN_PROXY = "proxy.lab.test:3129";  ///< the same squid, open to everybody
inline const std::string TINYPROXY = "proxy.lab.test:8888";   ///< asks likewise; answers 401 to wrong ones
inline const std::string SOCKS = "proxy.lab.test:1080";       ///< SOCKS 5, open to everybody
/// Starts them unless they run, and waits until they take connections. What is wrong, or "".
std::string startProxies();
/// What that file in the lab's folder holds: "squid.log" has a line with the whole head for each request,
/// "socks.log" the names or addresses asked for.
std::string logOf(const std::string& file);
/// The first line of that file that has the text, when it has been written; "" when that takes longer than 10
/// seconds.
std::string awaitLine(const std::string& file, const std::string& text);

/// A file with the certificate of the lab's authority, the one that the machine's bundle holds in the lab.
std::string authorityFile();
/// The folder in memory in which the lab keeps its files: access.log, tls/ ...
std::string directory();
/// False on a machine without IPv6: six.lab.test and both.lab.test's second address don't exist then.
bool hasIpv6();

}  // namespace lab
}  // namespace zeb::test

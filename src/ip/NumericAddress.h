#pragma once

#include <string_view>

namespace zeb::ip {

/// What the system's resolver takes a text for.
enum class NumericFamily { NONE, IPV4, IPV6 };

/// The one reader of numeric addresses, which IpUtils and the URL operations share; it works on a view, so
/// that a part of a URL need not be copied first. The answer is getaddrinfo's under AI_NUMERICHOST: "127.1"
/// and "0x7f.1" are IPv4, "fe80::1%lo" is IPv6 while that interface exists. Neither a text that can't be
/// either by its characters nor an address in its usual spelling costs a question to the resolver, or an
/// allocation.
///
/// A text that holds a NUL is no address: the resolver would see only what stands before it.
NumericFamily numericFamily(std::string_view text);

}  // namespace zeb::ip

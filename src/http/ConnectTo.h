#pragma once

#include <string>

namespace zeb::http {

// Where the connections of a request go when that isn't where its URL says.

/// An entry of CURLOPT_CONNECT_TO: connections for `host`, whatever their port, go to `target`, at the port
/// of `url` if it has one.
std::string connectToEntry(const std::string& host, const std::string& target, const std::string& url);

/// The address that the edge layer was told for an edge server, so that no DNS look-up is needed. Empty when
/// there is none, or no edge layer. Never waits, never throws unless memory runs out.
std::string toldAddressOf(const std::string& host);

}  // namespace zeb::http

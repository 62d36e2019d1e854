#include "ResolverSettings.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <netinet/in.h>
#include <sstream>
#include <string_view>

namespace zeb::dns {
namespace {

bool isAddress(int family, std::string_view text) {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    return inet_pton(family, std::string(text).c_str(), bytes.data()) == 1;
}

/// Nothing, or a colon and a number from 1 to 65535.
bool isPortOrNothing(std::string_view text) {
    if (text.empty()) {
        return true;
    }
    std::uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data() + 1, end, port);
    return text.front() == ':' && read.ec == std::errc() && read.ptr == end && port != 0;
}

bool isServer(std::string_view text) {
    if (!text.empty() && text.front() == '[') {
        const std::size_t end = text.find(']');
        return end != std::string_view::npos && isAddress(AF_INET6, text.substr(1, end - 1)) &&
               isPortOrNothing(text.substr(end + 1));
    }
    const std::size_t colon = std::min(text.find(':'), text.size());
    return isAddress(AF_INET6, text) ||
           (isAddress(AF_INET, text.substr(0, colon)) && isPortOrNothing(text.substr(colon)));
}

/// The address of a "nameserver" line; of an IPv6 address only what stands before the interface.
bool namesServer(const std::string& line) {
    std::istringstream words(line);
    std::string keyword;
    std::string address;
    words >> keyword >> address;
    address.resize(std::min(address.find('%'), address.size()));
    return keyword == "nameserver" && (isAddress(AF_INET, address) || isAddress(AF_INET6, address));
}

std::size_t countSystemServers() {
    std::ifstream file("/etc/resolv.conf");
    std::size_t count = 0;
    for (std::string line; std::getline(file, line);) {
        count += namesServer(line) ? 1 : 0;
    }
    return count;
}

/// True for a line "hosts: ... resolve ...".
bool namesResolverForHosts(std::string line) {
    line.resize(std::min(line.find('#'), line.size()));
    std::istringstream words(line);
    std::string database;
    std::getline(words >> std::ws, database, ':');
    for (std::string service; words >> service;) {
        if (service == "resolve") {
            return database == "hosts";
        }
    }
    return false;
}

}  // namespace

bool isListOfServers(const std::string& servers) {
    if (servers.find('\0') != std::string::npos) {
        return false;
    }
    for (std::size_t begin = 0; begin <= servers.size();) {
        const std::size_t end = std::min(servers.find(',', begin), servers.size());
        if (!isServer(std::string_view(servers).substr(begin, end - begin))) {
            return false;
        }
        begin = end + 1;
    }
    return true;
}

std::size_t countServers(const std::string& servers) {
    if (servers.empty()) {
        return countSystemServers();
    }
    return static_cast<std::size_t>(std::count(servers.begin(), servers.end(), ',')) + 1;
}

bool systemAsksItsResolver() {
    std::ifstream file("/etc/nsswitch.conf");
    for (std::string line; std::getline(file, line);) {
        if (namesResolverForHosts(line)) {
            return true;
        }
    }
    return false;
}

}  // namespace zeb::dns

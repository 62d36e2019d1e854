#include "ip/NumericAddress.h"

#include "ip/ScopedWinSockInitialiser.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>

namespace zeb::ip {
namespace {

struct AddrInfoDeleter {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};
using AddrInfoPtr = std::unique_ptr<addrinfo, AddrInfoDeleter>;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHexDigit(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// One to four numbers between dots, each decimal, octal or hexadecimal, each beginning with a digit.
bool hasIpv4Characters(std::string_view text) {
    return !text.empty() && isDigit(text.front()) && std::all_of(text.begin(), text.end(), [](char c) {
        return isHexDigit(c) || c == '.' || c == 'x' || c == 'X';
    });
}

/// At least two colons between groups of hexadecimal digits, perhaps an IPv4 address at the end, perhaps a
/// "%" and a scope, whose characters nobody restricts.
bool hasIpv6Characters(std::string_view text) {
    const std::string_view address = text.substr(0, text.find('%'));
    return address.size() < INET6_ADDRSTRLEN && std::count(address.begin(), address.end(), ':') >= 2 &&
           std::all_of(address.begin(), address.end(),
                       [](char c) { return isHexDigit(c) || c == '.' || c == ':'; });
}

/// The usual spellings, which the resolver accepts as well, without its cost and without an allocation.
NumericFamily familyOfUsualSpelling(std::string_view text) {
    std::array<char, INET6_ADDRSTRLEN> terminated{};
    if (text.size() >= terminated.size()) {
        return NumericFamily::NONE;
    }
    text.copy(terminated.data(), text.size());
    in6_addr bytes{};
    if (inet_pton(AF_INET, terminated.data(), &bytes) == 1) {
        return NumericFamily::IPV4;
    }
    return inet_pton(AF_INET6, terminated.data(), &bytes) == 1 ? NumericFamily::IPV6 : NumericFamily::NONE;
}

/// "10.1.2.3": four decimal numbers up to 255 without leading zeros, as nearly all addresses are written. No
/// for whatever else the resolver may accept.
bool isDottedQuad(std::string_view text) {
    int numbers = 0;
    std::size_t at = 0;
    while (at < text.size() && isDigit(text[at])) {
        const bool zero = text[at] == '0';
        int value = 0;
        const std::size_t begin = at;
        for (; at < text.size() && isDigit(text[at]) && at - begin < 3; ++at) {
            value = value * 10 + (text[at] - '0');
        }
        if (value > 255 || (zero && at - begin > 1)) {
            return false;
        }
        ++numbers;
        if (at == text.size()) {
            return numbers == 4;
        }
        if (text[at] != '.' || numbers == 4) {
            return false;
        }
        ++at;
    }
    return false;
}

NumericFamily askResolver(const std::string& text) {
    const ScopedWinSockInitialiser sockets;
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* list = nullptr;
    if (getaddrinfo(text.c_str(), nullptr, &hints, &list) != 0 || list == nullptr) {
        return NumericFamily::NONE;
    }
    const AddrInfoPtr result(list);
    switch (result->ai_family) {
        case AF_INET:
            return NumericFamily::IPV4;
        case AF_INET6:
            return NumericFamily::IPV6;
        default:
            return NumericFamily::NONE;
    }
}

}  // namespace

NumericFamily numericFamily(std::string_view text) {
    if (isDottedQuad(text)) {
        return NumericFamily::IPV4;
    }
    if (!hasIpv4Characters(text) && !hasIpv6Characters(text)) {
        return NumericFamily::NONE;
    }
    if (text.find('\0') != std::string_view::npos) {  // one can hide in a scope
        return NumericFamily::NONE;
    }
    const NumericFamily usual = familyOfUsualSpelling(text);
    return usual != NumericFamily::NONE ? usual : askResolver(std::string(text));
}

}  // namespace zeb::ip

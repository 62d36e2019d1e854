#include "dnsutils/DnsUtils.h"

#include "QueryName.h"
#include "ResolverChannel.h"
#include "ResolverSettings.h"
#include "ServiceAnswer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <arpa/nameser.h>
#include <array>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <optional>
#include <sys/socket.h>

#include <ares.h>

namespace zeb::dns {
namespace {

// --- What the host has set --------------------------------------------------------------------------------

/// Never destroyed: threads may still ask while the process ends.
struct SharedSettings {
    std::mutex mutex;  ///< guards what follows
    ResolverSettings settings;

    static SharedSettings& instance() {
        static auto& shared = *new SharedSettings;
        return shared;
    }
};

ResolverSettings currentSettings() {
    SharedSettings& shared = SharedSettings::instance();
    const std::lock_guard<std::mutex> lock(shared.mutex);
    return shared.settings;
}

// --- Addresses that are given as a name -------------------------------------------------------------------

struct NumericAddress {
    int family;
    std::string text;  ///< in its usual spelling
};

/// What the system's resolver takes for an address without asking anybody ("127.1", too).
std::optional<NumericAddress> readAddress(const std::string& name) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    if (name.empty() || name.find('\0') != std::string::npos ||
        getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0) {
        return std::nullopt;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, freeaddrinfo);
    std::array<char, NI_MAXHOST> text{};
    if (getnameinfo(found->ai_addr, found->ai_addrlen, text.data(), text.size(), nullptr, 0,
                    NI_NUMERICHOST) != 0) {
        return std::nullopt;
    }
    return NumericAddress{found->ai_family, text.data()};
}

// --- Service records --------------------------------------------------------------------------------------

struct RawAnswer {
    bool done = false;
    int status = ARES_EDESTRUCTION;
    std::vector<unsigned char> bytes;
};

void takeRawAnswer(void* user, int status, int /*timeouts*/, unsigned char* bytes, int size) {
    auto& answer = *static_cast<RawAnswer*>(user);
    answer.done = true;
    answer.status = status;
    if (bytes != nullptr && size > 0) {
        answer.bytes.assign(bytes, bytes + size);
    }
}

DnsQueryResult::Result queryServices(const QueryName& name, std::vector<ServiceResourceRecord>& records) {
    ResolverChannel channel(currentSettings(), ResolverChannel::Search::NEVER);
    if (channel.get() == nullptr) {
        return DnsQueryResult::FAILURE;
    }
    RawAnswer answer;
    ares_query(channel.get(), name.text.c_str(), ns_c_in, ns_t_srv, takeRawAnswer, &answer);
    channel.run(answer.done);
    if (answer.status != ARES_SUCCESS) {
        return channel.resultOf(answer.status);
    }
    auto services = readServiceAnswer(answer.bytes.data(), answer.bytes.size());
    if (!services) {
        return DnsQueryResult::SERVER_FAILURE;
    }
    records = std::move(*services);
    return records.empty() ? DnsQueryResult::NO_RECORDS : DnsQueryResult::SUCCESS;
}

// --- Addresses --------------------------------------------------------------------------------------------

using FoundAddresses = std::unique_ptr<ares_addrinfo, decltype(&ares_freeaddrinfo)>;

struct AddressAnswer {
    bool done = false;
    int status = ARES_EDESTRUCTION;
    FoundAddresses found{nullptr, ares_freeaddrinfo};
};

void takeAddressAnswer(void* user, int status, int /*timeouts*/, ares_addrinfo* found) {
    auto& answer = *static_cast<AddressAnswer*>(user);
    answer.done = true;
    answer.status = status;
    answer.found.reset(found);
}

std::string addressText(const ares_addrinfo_node& node) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const void* const address =
        node.ai_family == AF_INET
            ? static_cast<const void*>(&reinterpret_cast<const sockaddr_in*>(node.ai_addr)->sin_addr)
            : static_cast<const void*>(&reinterpret_cast<const sockaddr_in6*>(node.ai_addr)->sin6_addr);
    const char* const written = inet_ntop(node.ai_family, address, text.data(), text.size());
    return written == nullptr ? std::string() : written;
}

template <typename Record>
std::vector<Record> recordsOf(const std::string& name, int family, const ares_addrinfo* found) {
    std::vector<Record> records;
    if (found == nullptr) {
        return records;
    }
    const std::string owner = found->name == nullptr ? name : found->name;
    for (const ares_addrinfo_node* node = found->nodes; node != nullptr; node = node->ai_next) {
        if (node->ai_family == family && node->ai_addr != nullptr) {
            const auto ttl = static_cast<unsigned int>(std::max(node->ai_ttl, 0));
            records.emplace_back(owner, addressText(*node), ttl);
        }
    }
    return records;
}

template <typename Record>
DnsQueryResult::Result queryAddresses(const QueryName& name, int family, std::vector<Record>& records) {
    ResolverChannel channel(currentSettings(), name.isAbsolute
                                                   ? ResolverChannel::Search::NEVER
                                                   : ResolverChannel::Search::BY_THE_SYSTEMS_LIST);
    if (channel.get() == nullptr) {
        return DnsQueryResult::FAILURE;
    }
    ares_addrinfo_hints hints{};
    hints.ai_family = family;
    hints.ai_flags = ARES_AI_NOSORT;
    AddressAnswer answer;
    ares_getaddrinfo(channel.get(), name.text.c_str(), nullptr, &hints, takeAddressAnswer, &answer);
    channel.run(answer.done);
    if (answer.status != ARES_SUCCESS) {
        return channel.resultOf(answer.status);
    }
    // An answer may consist of aliases alone.
    records = recordsOf<Record>(name.text, family, answer.found.get());
    return records.empty() ? DnsQueryResult::NO_RECORDS : DnsQueryResult::SUCCESS;
}

template <typename Record>
DnsQueryResult::Result executeAddressQuery(const std::string& name, int family,
                                           std::vector<Record>& records) {
    records.clear();
    if (const auto address = readAddress(name)) {
        if (address->family != family) {
            return DnsQueryResult::NO_RECORDS;
        }
        records.emplace_back(name, address->text, 0U);
        return DnsQueryResult::SUCCESS;
    }
    const auto query = readQueryName(name);
    return query ? queryAddresses(*query, family, records) : DnsQueryResult::INVALID_NAME;
}

}  // namespace

DnsQueryResult::Result DnsUtils::executeSRVRecordQuery(const std::string& name,
                                                       std::vector<ServiceResourceRecord>& records) {
    records.clear();
    if (readAddress(name)) {
        return DnsQueryResult::NO_RECORDS;
    }
    const auto query = readQueryName(name);
    return query ? queryServices(*query, records) : DnsQueryResult::INVALID_NAME;
}

DnsQueryResult::Result DnsUtils::executeARecordQuery(const std::string& name, std::vector<ARecord>& records) {
    return executeAddressQuery(name, AF_INET, records);
}

DnsQueryResult::Result DnsUtils::executeAAAARecordQuery(const std::string& name,
                                                        std::vector<AAAARecord>& records) {
    return executeAddressQuery(name, AF_INET6, records);
}

void DnsUtils::setTimeout(std::chrono::milliseconds timeout) {
    // Far beyond what anybody waits, and within what every clock can add.
    constexpr std::chrono::milliseconds LONGEST = std::chrono::hours(24);
    SharedSettings& shared = SharedSettings::instance();
    const std::lock_guard<std::mutex> lock(shared.mutex);
    shared.settings.timeout = timeout > std::chrono::milliseconds::zero() ? std::min(timeout, LONGEST)
                                                                          : ResolverSettings::DEFAULT_TIMEOUT;
}

bool DnsUtils::setNameServers(const std::string& servers) {
    if (!servers.empty() && !isListOfServers(servers)) {
        return false;
    }
    SharedSettings& shared = SharedSettings::instance();
    const std::lock_guard<std::mutex> lock(shared.mutex);
    shared.settings.servers = servers;
    return true;
}

}  // namespace zeb::dns

/// zebprobe: what the library sees of a host. It resolves the name, tries a connection, and tells over which
/// addresses that went; or it looks a service up in DNS and puts its endpoints into the order in which a
/// client tries them.

#include "dnsutils/DnsUtils.h"
#include "dnsutils/ServiceResourceRecordSorter.h"
#include "ip/ConnectionInformation.h"
#include "netutils/GlobalInit.h"
#include "zeblogger/ZEBLogger.h"

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace {

using zeb::dns::DnsQueryResult;
using zeb::dns::DnsUtils;
using zeb::dns::ServiceResourceRecord;
using zeb::ip::ConnectionInformation;
using zeb::ip::ConnectionInformationResult;
using Family = zeb::ip::IpFamilyPreferencePolicy::PolicyValue;

constexpr unsigned long DEFAULT_SECONDS = 5;
constexpr unsigned long MOST_SECONDS = 3600;
constexpr unsigned long MOST_PORT = 65535;

struct Arguments {
    std::string service;  ///< with it neither host nor port
    std::string host;
    unsigned long port = 0;
    unsigned long seconds = DEFAULT_SECONDS;
    std::string nameServers;
    Family::Value family = Family::DUAL_STACK;
    bool verbose = false;
};

std::string checkNameServers(const std::string& servers) {
    return DnsUtils::setNameServers(servers) ? ""
                                             : "'" + servers + "' is not of the form 'ADDRESS[:PORT],...'";
}

/// Nothing: the program is to end, with that exit status.
std::optional<Arguments> parseArguments(int argc, char** argv, int& exitStatus) {
    CLI::App app(
        "Tells what the library sees of a host: its addresses, and whether a connection can be made.\n"
        "With --srv: the endpoints of a service, in the order in which a client would try them.\n"
        "The exit status is 0 if there is a connection, or an endpoint; else the number of the result.");
    app.name("zebprobe");
    Arguments arguments;
    bool ipv4 = false;
    bool ipv6 = false;
    auto* const host = app.add_option("host", arguments.host, "A name or an IP address")->type_name("HOST");
    auto* const port = app.add_option("port", arguments.port, "Where to connect to")
                           ->type_name("PORT")
                           ->check(CLI::Range(1UL, MOST_PORT));
    app.add_option("--srv", arguments.service, "The service, like _edge._tls.example.com")
        ->type_name("NAME")
        ->excludes(host)
        ->excludes(port);
    app.add_option("--timeout", arguments.seconds, "For each query and for the connection; default 5")
        ->type_name("SECONDS")
        ->check(CLI::Range(1UL, MOST_SECONDS));
    app.add_option("--dns", arguments.nameServers, "The name servers to ask in place of the system's")
        ->type_name("ADDRESS[:PORT],...")
        ->check(checkNameServers);
    auto* const ipv4Flag = app.add_flag("-4", ipv4, "Connects over IPv4 only");
    app.add_flag("-6", ipv6, "Connects over IPv6 only")->excludes(ipv4Flag);
    app.add_flag("-v,--verbose", arguments.verbose, "Shows what the library logs");
    try {
        app.parse(argc, argv);
        if (arguments.service.empty() && (host->empty() || port->empty())) {
            throw CLI::RequiredError("HOST and PORT, or --srv,");
        }
    } catch (const CLI::ParseError& end) {
        exitStatus = app.exit(end);
        return std::nullopt;
    }
    arguments.family = ipv4 ? Family::IPV4_ONLY : ipv6 ? Family::IPV6_ONLY : Family::DUAL_STACK;
    return arguments;
}

int probeService(const std::string& service) {
    std::vector<ServiceResourceRecord> records;
    const DnsQueryResult::Result result = DnsUtils::executeSRVRecordQuery(service, records);
    zeb::dns::ServiceResourceRecordSorter(records).sortRecords();
    std::cout << "SRV " << result << "\n";
    for (const ServiceResourceRecord& record : records) {
        std::cout << "  " << record.getTarget() << ":" << record.getPort() << " priority "
                  << record.getPriority() << " weight " << record.getWeight() << " ttl " << record.getTtl()
                  << "\n";
    }
    return result;
}

void probeAddresses(const std::string& host) {
    std::vector<zeb::dns::ARecord> ipv4;
    std::cout << "A " << DnsUtils::executeARecordQuery(host, ipv4) << "\n";
    for (const auto& record : ipv4) {
        std::cout << "  " << record.getIP4Address() << " ttl " << record.getTtl() << "\n";
    }
    std::vector<zeb::dns::AAAARecord> ipv6;
    std::cout << "AAAA " << DnsUtils::executeAAAARecordQuery(host, ipv6) << "\n";
    for (const auto& record : ipv6) {
        std::cout << "  " << record.getIP6Address() << " ttl " << record.getTtl() << "\n";
    }
}

int probeConnection(const Arguments& arguments) {
    const auto information = ConnectionInformation::buildConnectionInformation();
    // The addresses above were asked for directly; libcurl asks the system's resolver.
    const ConnectionInformationResult result = information->getConnectionInformationForHost(
        arguments.host, arguments.port, arguments.seconds, false, arguments.family);
    std::cout << "connection " << result.result << "\n";
    if (result.result == ConnectionInformationResult::Success) {
        std::cout << "  from " << result.localAddress.getAddress() << " to "
                  << result.destinationAddress.getAddress() << "\n";
    }
    return result.result;
}

int runProbe(const Arguments& arguments) {
    DnsUtils::setTimeout(std::chrono::seconds(arguments.seconds));
    if (!arguments.service.empty()) {
        return probeService(arguments.service);
    }
    probeAddresses(arguments.host);
    return probeConnection(arguments);
}

}  // namespace

int main(int argc, char** argv) {
    int exitStatus = 0;
    const std::optional<Arguments> arguments = parseArguments(argc, argv, exitStatus);
    if (!arguments) {
        return exitStatus;
    }
    LogController::getInstance()->setLevel(arguments->verbose ? ZEBLOG_INFO : 0);
    if (zeb::netutils::GlobalInit() != 0) {
        std::cerr << "zebprobe: the library could not be started\n";
        return EXIT_FAILURE;
    }
    exitStatus = runProbe(*arguments);
    zeb::netutils::GlobalCleanup();
    return exitStatus;
}

// The smallest host: compiled and linked against the installed libraries alone.
#include "dnsutils/DnsUtils.h"
#include "http/BasicHttpClient.h"
#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "zeblogger/ZEBLogger.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

/// What comes with the library besides it is linked, too.
bool dnsWorks() {
    std::vector<zeb::dns::ARecord> records;
    return zeb::dns::DnsUtils::executeARecordQuery("127.0.0.1", records) == zeb::dns::DnsQueryResult::SUCCESS;
}

int main() {
    std::string log;
    LogController::getInstance()->setSink(
        [&log](const LogController::Record& record) { log.append(record.message).append("\n"); });
    if (zeb::netutils::GlobalInit() != 0) {
        return 1;
    }
    const auto client = zeb::netutils::NetUtilsFactory().createBasicHttpClient();
    zeb::http::Response response;
    const auto result = client->execute(std::make_shared<zeb::http::Request>(""), response);
    std::cout << result << "\n" << log;
    return result == zeb::http::HttpClientResult::URL_NOT_SET_ERROR &&
                   log.find("URL not set") != std::string::npos && dnsWorks()
               ? 0
               : 1;
}

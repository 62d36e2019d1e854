#include "Require.h"
#include "common/Cookie.h"
#include "zeblogger/ZEBLogger.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <strings.h>
#include <vector>

using zeb::common::Cookie;

namespace {

/// The splitting as it is defined, by std::getline.
std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) {
        fields.push_back(field);
    }
    return fields;
}

/// The mark is looked for anywhere, and cut at the start.
std::string domainOf(const std::string& field) {
    return field.find("#HttpOnly_") == std::string::npos ? field : field.substr(10);
}

bool isTrue(const std::string& field) {
    return field.size() == 4 && strncasecmp(field.data(), "true", 4) == 0;
}

void check(const std::string& line) {
    const Cookie cookie(line);
    const std::vector<std::string> fields = split(line);
    if (fields.size() < 7) {
        ZEB_REQUIRE(cookie.isEmpty());
        ZEB_REQUIRE(cookie == Cookie());
        return;
    }
    ZEB_REQUIRE(!cookie.isEmpty());
    ZEB_REQUIRE(cookie.getRawFormat() == line);
    ZEB_REQUIRE(cookie.getPath() == fields[2]);
    ZEB_REQUIRE(cookie.getName() == fields[5]);
    ZEB_REQUIRE(cookie.getValue() == fields[6]);
    ZEB_REQUIRE(cookie.getDomain() == domainOf(fields[0]));
    std::int64_t expiration = 0;
    if (std::istringstream stream(fields[4]); !(stream >> expiration)) {
        expiration = 0;
    }
    ZEB_REQUIRE(cookie.getExpirationDate() == expiration);
    ZEB_REQUIRE(cookie.isTailMatchAllowed() == isTrue(fields[1]));
    ZEB_REQUIRE(cookie.isSecureConnectionRequired() == isTrue(fields[3]));

    Cookie again("a\tTRUE\t/\tTRUE\t1\tn\tv");
    const Cookie other(again);
    again.parse(line);
    ZEB_REQUIRE(again == cookie);
    ZEB_REQUIRE(other.getValue() == "v");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    LogController::getInstance()->setLevel(0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    check(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}

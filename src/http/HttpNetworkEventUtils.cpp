#include "http/HttpNetworkEventUtils.h"

#include "http/Response.h"
#include "qrmcoreutils/QRMCoreUtils.h"

namespace zeb::http {

namespace {

constexpr char INTERNAL_NODE[] = "QX_A";
constexpr char OUTWARD_NODE[] = "QX_B";

std::string serverOf(const Response& response) {
    return QRMCoreUtils::toUppercase(response.getHeader("Server"));
}

}  // namespace

bool HttpNetworkEventUtils::isResponseFromGlt(const Response& response) {
    const std::string server = serverOf(response);
    return server == INTERNAL_NODE || server == OUTWARD_NODE;
}

bool HttpNetworkEventUtils::isResponseFromGltE(const Response& response) {
    return serverOf(response) == OUTWARD_NODE;
}

bool HttpNetworkEventUtils::isGlt403Response(const Response& response) {
    return response.responseCode == 403 && isResponseFromGlt(response);
}

bool HttpNetworkEventUtils::isGlt407Response(const Response& response) {
    return response.responseCode == 407 && isResponseFromGlt(response);
}

bool HttpNetworkEventUtils::isGlt500Response(const Response& response) {
    return response.responseCode == 500 && isResponseFromGlt(response);
}

bool HttpNetworkEventUtils::isGlt503Response(const Response& response) {
    return response.responseCode == 503 && isResponseFromGlt(response);
}

bool HttpNetworkEventUtils::isGlte502Response(const Response& response) {
    return response.responseCode == 502 && isResponseFromGltE(response);
}

}  // namespace zeb::http

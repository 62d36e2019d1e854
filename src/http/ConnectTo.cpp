#include "http/ConnectTo.h"

#include "edge/EdgeDetectionController.h"
#include "edge/GlobalEdgeState.h"
#include "http/HttpUtils.h"
#include "ip/IpUtils.h"
#include "netutils/GlobalEdgeStateController.h"

#include <memory>
#include <stdexcept>

namespace zeb::http {

namespace {

/// An IPv6 address in brackets, as it must stand where a port may follow; a name as it is.
std::string bracketed(const std::string& host) {
    return ip::IpUtils::isIpv6Address(host) ? "[" + host + "]" : host;
}

/// Null when there is no edge layer: a transfer must not hear of that by an exception, nor wait, in the midst
/// of others, for one that starts.
std::shared_ptr<edge::EdgeDetectionController> edgeDetectionControllerOrNull() {
    if (!netutils::GlobalEdgeStateController::isInitialized()) {
        return nullptr;
    }
    try {
        return netutils::GlobalEdgeStateController::getGlobalEdgeState()->getEdgeDetectionController();
    } catch (const std::logic_error&) {
        return nullptr;  // gone since
    }
}

}  // namespace

std::string connectToEntry(const std::string& host, const std::string& target, const std::string& url) {
    std::string entry = bracketed(host) + "::" + bracketed(target);
    if (const unsigned int port = HttpUtils::extractPortFromHttpUrl(url)) {
        entry += ":" + std::to_string(port);
    }
    return entry;
}

std::string toldAddressOf(const std::string& host) {
    const std::shared_ptr<edge::EdgeDetectionController> controller = edgeDetectionControllerOrNull();
    if (controller == nullptr) {
        return {};
    }
    // In this order: the first question may change the answer to the second.
    const std::string ip = controller->findIPbyHost(host);
    return controller->isOrbelVDIOVT() ? ip : std::string();
}

}  // namespace zeb::http

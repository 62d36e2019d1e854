#include "netutils/SNIUtil.h"

#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"
#include "qrmcoreutils/QRMCoreUtils.h"

namespace zeb::netutils {

namespace {

struct EdgeDomain {
    Mutex mutex;  ///< guards text
    std::string text;
};

EdgeDomain& edgeDomain() {
    // Never destroyed: transfers may still ask while the process ends.
    static auto* const instance = new EdgeDomain;
    return *instance;
}

std::string currentEdgeDomain() {
    EdgeDomain& domain = edgeDomain();
    const ScopedLock lock(domain.mutex);
    return domain.text;
}

std::string lastTwoLabels(const std::string& name) {
    const std::size_t last = name.rfind('.');
    if (last == std::string::npos || last == 0) {
        return name;
    }
    const std::size_t secondLast = name.rfind('.', last - 1);
    return secondLast == std::string::npos ? name : name.substr(secondLast + 1);
}

bool haveSameRoot(const std::string& domain, const std::string& edge) {
    return QRMCoreUtils::caseInsensitiveStringEquals(lastTwoLabels(domain), lastTwoLabels(edge));
}

bool isEitherEmpty(const std::string& domain, const std::string& edge) {
    if (!domain.empty() && !edge.empty()) {
        return false;
    }
    ZEB_LOG_WARNING(log::netutils(), "SRV record domain[" << ZEBLogger_replacePIIData(domain)
                                                          << "] "
                                                             " or Edge domain["
                                                          << ZEBLogger_replacePIIData(edge) << "] is empty ");
    return true;
}

}  // namespace

void SNIUtil::setEdgeDomain(const std::string& domain) {
    ZEB_LOG_INFO(log::netutils(), "edge domain: " << ZEBLogger_replacePIIData(domain));
    EdgeDomain& stored = edgeDomain();
    const ScopedLock lock(stored.mutex);
    stored.text = domain;
}

std::string SNIUtil::getHostName(const std::string& name) {
    const std::size_t dot = name.find('.');
    return dot == std::string::npos ? std::string() : name.substr(0, dot);
}

bool SNIUtil::matchedRootDomainWithEdgeDomain(const std::string& domain) {
    return haveSameRoot(domain, currentEdgeDomain());
}

bool SNIUtil::isMatchedWithEdgeDomain(const std::string& domain) {
    const std::string edge = currentEdgeDomain();
    return !isEitherEmpty(domain, edge) && haveSameRoot(domain, edge);
}

std::string SNIUtil::getServerNameForSNI(const std::string& domain) {
    const std::string edge = currentEdgeDomain();
    if (isEitherEmpty(domain, edge)) {
        return {};
    }
    if (haveSameRoot(domain, edge)) {
        return domain;
    }
    const std::string host = getHostName(domain);
    if (host.empty()) {
        ZEB_LOG_WARNING(log::netutils(), "host for srv record domain was empty");
        return {};
    }
    return host + "." + edge;
}

}  // namespace zeb::netutils

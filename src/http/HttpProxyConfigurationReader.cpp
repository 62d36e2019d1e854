#include "http/HttpProxyConfigurationReader.h"

#include "http/Proxy.h"

namespace zeb::http {

HttpProxyConfigurationReader::~HttpProxyConfigurationReader() = default;

std::shared_ptr<Proxy> HttpProxyConfigurationReader::getHttpProxyForUrl(const std::string& /*url*/) const {
    return nullptr;
}

}  // namespace zeb::http

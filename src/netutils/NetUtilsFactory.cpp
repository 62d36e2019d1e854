#include "netutils/NetUtilsFactory.h"

#include "cert/common/CertVerifier.h"
#include "cert/common/CertVerifierFactory.h"
#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/MultiHttpClientImpl.h"
#include "netutils/NetworkEventReporterImpl.h"
#include "netutils/NetworkEventReporterObserver.h"
#include "netutils/adapters/HttpCertAdapter.h"
#include "netutils/adapters/HttpEventReporterAdapter.h"
#include "version/Version.h"

#include <utility>

namespace zeb::netutils {

namespace {

constexpr unsigned int IDLE_SECONDS = 60;

std::shared_ptr<ThreadPool> createDefaultPool() {
    return std::make_shared<ThreadPool>(NetUtilsFactory::MIN_DEFAULT_THREADPOOL_SIZE,
                                        NetUtilsFactory::MAX_DEFAULT_THREADPOOL_SIZE, "AsyncHttpReq",
                                        IDLE_SECONDS);
}

}  // namespace

const unsigned int NetUtilsFactory::MIN_DEFAULT_THREADPOOL_SIZE = 0;
const unsigned int NetUtilsFactory::MAX_DEFAULT_THREADPOOL_SIZE = 10;

NetUtilsFactory::NetUtilsFactory() {
    version::Version::printVersion();
}

std::shared_ptr<http::BasicHttpClient> NetUtilsFactory::createBasicHttpClient() {
    return createBasicHttpClient(cert::CertVerifierFactory::createCertVerifier(), createDefaultPool());
}

std::shared_ptr<http::BasicHttpClient> NetUtilsFactory::createBasicHttpClient(
    std::shared_ptr<cert::CertVerifier> certVerifier) {
    return createBasicHttpClient(std::move(certVerifier), createDefaultPool());
}

std::shared_ptr<http::BasicHttpClient> NetUtilsFactory::createBasicHttpClient(
    std::shared_ptr<ThreadPool> threadPool) {
    return createBasicHttpClient(cert::CertVerifierFactory::createCertVerifier(), std::move(threadPool));
}

std::shared_ptr<http::BasicHttpClient> NetUtilsFactory::createBasicHttpClient(
    std::shared_ptr<cert::CertVerifier> certVerifier, std::shared_ptr<ThreadPool> threadPool) {
    // This build has no edge layer.
    return http::BasicHttpClientImpl::buildBasicHttpClientImpl(
        nullptr, std::make_shared<adapters::HttpCertAdapter>(std::move(certVerifier)), std::move(threadPool),
        std::make_shared<adapters::HttpEventReporterAdapter>(createNetworkEventReporter()));
}

std::shared_ptr<NetworkEventReporter> NetUtilsFactory::createNetworkEventReporter() {
    return std::make_shared<NetworkEventReporterImpl>(NetworkEventReporterObserver::getInstance());
}

std::shared_ptr<http::MultiHttpClient> NetUtilsFactory::createMultiHttpClient(unsigned int threads) {
    return createMultiHttpClient(cert::CertVerifierFactory::createCertVerifier(), threads);
}

std::shared_ptr<http::MultiHttpClient> NetUtilsFactory::createMultiHttpClient(
    std::shared_ptr<cert::CertVerifier> certVerifier, unsigned int threads) {
    // As above.
    return http::MultiHttpClientImpl::buildMultiHttpClientImpl(
        nullptr, std::make_shared<adapters::HttpCertAdapter>(std::move(certVerifier)),
        std::make_shared<adapters::HttpEventReporterAdapter>(createNetworkEventReporter()), threads);
}

}  // namespace zeb::netutils

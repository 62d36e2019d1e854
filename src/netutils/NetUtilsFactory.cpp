#include "netutils/NetUtilsFactory.h"

#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/MultiHttpClientImpl.h"
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
    return createBasicHttpClient(createDefaultPool());
}

std::shared_ptr<http::BasicHttpClient> NetUtilsFactory::createBasicHttpClient(
    std::shared_ptr<cert::CertVerifier> certVerifier) {
    return createBasicHttpClient(std::move(certVerifier), createDefaultPool());
}

std::shared_ptr<http::BasicHttpClient> NetUtilsFactory::createBasicHttpClient(
    std::shared_ptr<ThreadPool> threadPool) {
    return createBasicHttpClient(std::shared_ptr<cert::CertVerifier>(), std::move(threadPool));
}

std::shared_ptr<http::BasicHttpClient> NetUtilsFactory::createBasicHttpClient(
    std::shared_ptr<cert::CertVerifier> /*certVerifier*/, std::shared_ptr<ThreadPool> threadPool) {
    // This build has neither a certificate verifier nor an edge layer nor network events: a
    // cert::CertVerifier can't exist yet, so the client gets none and refuses every certificate.
    return http::BasicHttpClientImpl::buildBasicHttpClientImpl(nullptr, nullptr, std::move(threadPool),
                                                               nullptr);
}

std::shared_ptr<http::MultiHttpClient> NetUtilsFactory::createMultiHttpClient(unsigned int threads) {
    return createMultiHttpClient(std::shared_ptr<cert::CertVerifier>(), threads);
}

std::shared_ptr<http::MultiHttpClient> NetUtilsFactory::createMultiHttpClient(
    std::shared_ptr<cert::CertVerifier> /*certVerifier*/, unsigned int threads) {
    // As above: without any of the three.
    return http::MultiHttpClientImpl::buildMultiHttpClientImpl(nullptr, nullptr, nullptr, threads);
}

}  // namespace zeb::netutils

#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb {
class ThreadPool;
}
namespace zeb::cert {
class CertVerifier;
}
namespace zeb::http {
class BasicHttpClient;
class MultiHttpClient;
}  // namespace zeb::http

namespace zeb::netutils {

class NetworkEventReporter;

/// Where hosts get their clients from. Call GlobalInit before the first one. Any thread may call.
///
/// A verifier of a client's own is that of cert::CertVerifierFactory: it trusts what the system trusts. A
/// client that is given a null verifier refuses every server certificate: an https request then ends with
/// CERTIFICATE_VALIDATION_ERROR.
class ZEBNETUTILS_EXPORT NetUtilsFactory {
public:
    /// The bounds of the pool that a client gets of its own. Its threads end after 60 idle seconds.
    static const unsigned int MIN_DEFAULT_THREADPOOL_SIZE;
    static const unsigned int MAX_DEFAULT_THREADPOOL_SIZE;

    /// Writes the banner to the log, the first time in the process.
    NetUtilsFactory();

    /// With a pool and a verifier of its own.
    std::shared_ptr<http::BasicHttpClient> createBasicHttpClient();
    /// With a pool of its own and the given verifier.
    std::shared_ptr<http::BasicHttpClient> createBasicHttpClient(
        std::shared_ptr<cert::CertVerifier> certVerifier);
    /// With the given pool, which other clients may share, and a verifier of its own.
    std::shared_ptr<http::BasicHttpClient> createBasicHttpClient(std::shared_ptr<ThreadPool> threadPool);
    std::shared_ptr<http::BasicHttpClient> createBasicHttpClient(
        std::shared_ptr<cert::CertVerifier> certVerifier, std::shared_ptr<ThreadPool> threadPool);

    /// With a verifier of its own. Up to `threads` threads, at least one, do what can block before a
    /// transfer.
    std::shared_ptr<http::MultiHttpClient> createMultiHttpClient(unsigned int threads);
    std::shared_ptr<http::MultiHttpClient> createMultiHttpClient(
        std::shared_ptr<cert::CertVerifier> certVerifier, unsigned int threads);

    /// Through which the host tells what it knows of the network. Every client reports what its transfers
    /// saw by one of its own; all of them share one queue.
    std::shared_ptr<NetworkEventReporter> createNetworkEventReporter();
};

}  // namespace zeb::netutils

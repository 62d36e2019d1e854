#pragma once

#include <string>

namespace zeb::http {

class CertVerifier;
class HttpRequestData;
struct SSLData;

/// Keeps a request off the TLS connections that another verification has accepted.
///
/// libcurl keeps connections open and gives one to a later request for the same server. That request's
/// certificate is then never judged: it must get only connections that its own verifier, asked for its own
/// names in its own way, has accepted. libcurl takes a connection for another request only if both handles
/// have the same CURLOPT_CAPATH, so that option carries a digest of everything that the judgement depends on.
/// Requests with equal inputs share connections as ever, in whatever order they come, the others never. That
/// holds wherever libcurl looks for a connection: within one easy handle, in the cache that the handles of a
/// multi handle share, and for requests that would share one HTTP/2 connection.
///
/// As a path the label means nothing: there is no such directory, and OpenSSL's own verification, which would
/// look there, is replaced by SslUtils::verifyCb.
class VerificationLabel {
public:
    VerificationLabel() = delete;

    /// The label for such a handshake: of which verifier (the object, for as long as it lives), in which
    /// model, for which names, with which TLS versions, since when (common::TrustEpoch). How the server is
    /// shown to a user is no part of it.
    static std::string of(const SSLData& sslData, long acceptableTlsVersions);

    /// Puts the label of the request's present SSLData on its easy handle: before each transfer, and again
    /// within one whenever a redirect has changed the names. Does nothing when the request owns no handle.
    ///
    /// False when it can't: then the handle is told to open a connection for itself alone, and bears the
    /// former label yet. That is enough before a transfer; within one libcurl doesn't heed it, and may take
    /// a kept connection all the same.
    static bool putOn(HttpRequestData& data);
};

}  // namespace zeb::http

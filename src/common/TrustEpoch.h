#pragma once

#include <cstdint>

namespace zeb::common {

/// Counts how often this process has taken back, or may have taken back, what it had trusted: a policy of a
/// verifier that has judged already was changed, or a user's acceptance was forgotten or overruled. What was
/// trusted in an epoch counts for that epoch alone: a TLS connection is not kept for requests of a later one.
///
/// Whoever changes what is trusted changes it first and advances then. Any thread.
class TrustEpoch {
public:
    TrustEpoch() = delete;

    static void advance();
    static std::uint64_t current();
};

}  // namespace zeb::common

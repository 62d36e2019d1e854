#pragma once

#include "core/Export.h"

namespace zeb::common {

/// Whether cryptography runs under FIPS 140 rules in this process.
class ZEBNETUTILS_EXPORT FipsUtils {
public:
    FipsUtils() = delete;

    /// What OpenSSL says at this moment about its default library context. Any thread may call; never throws.
    static bool isFipsEnabled();

    /// For tests, as few systems have a FIPS provider: asks `query` instead of OpenSSL; null brings OpenSSL
    /// back.
    static void setQueryForTests(bool (*query)());
};

}  // namespace zeb::common

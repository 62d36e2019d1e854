#pragma once

#include "core/Export.h"

namespace zeb::http {

struct Response;

/// Tells whether an error answer comes from an edge server itself, by its Server header, rather than from the
/// service behind it. "QX_A" is the internal edge node, "QX_B" the outward-facing one; only the latter proves
/// that the failure was in the hop behind it.
class ZEBNETUTILS_EXPORT HttpNetworkEventUtils {
public:
    static bool isGlt403Response(const Response& response);
    static bool isGlt407Response(const Response& response);
    static bool isGlt500Response(const Response& response);
    static bool isGlt503Response(const Response& response);
    static bool isGlte502Response(const Response& response);

    /// The Server header is "QX_A" or "QX_B", in any case.
    static bool isResponseFromGlt(const Response& response);
    /// The Server header is "QX_B", in any case.
    static bool isResponseFromGltE(const Response& response);
};

}  // namespace zeb::http

#pragma once

#include "core/Export.h"

#include <string>

namespace zeb::edge {

/// Knows whether the enterprise is reached directly or through an edge server, and by which addresses. Owned
/// by GlobalEdgeState. Any thread may call.
class ZEBNETUTILS_EXPORT EdgeDetectionController {
public:
    virtual ~EdgeDetectionController();

    /// The address that was told for an edge server's host; empty for a host that none was told for.
    virtual std::string findIPbyHost(const std::string& host) = 0;
    /// True when addresses of edge servers have been told from outside, as for a client on a virtual desktop.
    /// A question to findIPbyHost for an unknown host may make it true: ask that one first.
    virtual bool isOrbelVDIOVT() = 0;
};

}  // namespace zeb::edge

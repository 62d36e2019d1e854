#pragma once

namespace zeb::ip {

/// Stands around each use of the system's resolver. It does nothing on a platform whose sockets need no
/// start-up, which every supported one is; it marks the places for one where they do.
class ScopedWinSockInitialiser {
public:
    ScopedWinSockInitialiser() {}
    ~ScopedWinSockInitialiser() {}
    ScopedWinSockInitialiser(const ScopedWinSockInitialiser&) = delete;
    ScopedWinSockInitialiser& operator=(const ScopedWinSockInitialiser&) = delete;
};

}  // namespace zeb::ip

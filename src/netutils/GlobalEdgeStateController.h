#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb::edge {
class GlobalEdgeState;
}

namespace zeb::netutils {

/// The one place from which any code reaches the edge layer. Until the layer has been started it answers as
/// not initialised. Any thread may call.
class ZEBNETUTILS_EXPORT GlobalEdgeStateController {
public:
    /// The process's one state. If the layer hasn't been started it waits up to a second for a start on
    /// another thread, then throws std::logic_error: the one operation of the library that throws.
    static std::shared_ptr<edge::GlobalEdgeState> getGlobalEdgeState();
    static bool isInitialized();

    /// Puts a state in the place of the layer, as if it had been started; null takes it away again.
    static void setGlobalEdgeStateForTesting(std::shared_ptr<edge::GlobalEdgeState> state);

private:
    struct Fields;
    static Fields& fields();
};

}  // namespace zeb::netutils

#include "edge/GlobalEdgeState.h"

namespace zeb::edge {

GlobalEdgeState::~GlobalEdgeState() = default;

std::ostream& operator<<(std::ostream& stream, GlobalEdgeState::TerminateEdgeSessionResult::Result result) {
    using Result = GlobalEdgeState::TerminateEdgeSessionResult;
    switch (result) {
        case Result::SUCCESS:
            return stream << "SUCCESS";
        case Result::INVALID_CREDENTIALS:
            return stream << "INVALID_CREDENTIALS";
        case Result::EDGE_CONNECTIVITY_UNAVAILABLE:
            return stream << "EDGE_CONNECTIVITY_UNAVAILABLE";
        case Result::UNKNOWN_ERROR:
            return stream << "UNKNOWN_ERROR";
        case Result::EDGE_CONFIG_UNAVAILABLE:
            break;
    }
    return stream << "Unexpected value (" << static_cast<int>(result) << ")";
}

}  // namespace zeb::edge

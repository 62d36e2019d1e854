#include "netutils/GlobalEdgeStateController.h"

#include "core/Event.h"
#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"
#include "edge/GlobalEdgeState.h"

#include <stdexcept>
#include <utility>

namespace zeb::netutils {

namespace {

constexpr long START_PATIENCE_MS = 1000;

}  // namespace

struct GlobalEdgeStateController::Fields {
    Mutex mutex;  ///< guards initialized and globalEdgeState
    bool initialized = false;
    std::shared_ptr<edge::GlobalEdgeState> globalEdgeState;
    Event initEvent{false};

    std::shared_ptr<edge::GlobalEdgeState> stateIfInitialized() {
        const ScopedLock lock(mutex);
        return initialized ? globalEdgeState : nullptr;
    }
};

GlobalEdgeStateController::Fields& GlobalEdgeStateController::fields() {
    // Never destroyed: transfers may still ask while the process ends.
    static auto* const instance = new Fields;
    return *instance;
}

std::shared_ptr<edge::GlobalEdgeState> GlobalEdgeStateController::getGlobalEdgeState() {
    Fields& all = fields();
    std::shared_ptr<edge::GlobalEdgeState> state = all.stateIfInitialized();
    if (state == nullptr) {
        all.initEvent.timedWait(START_PATIENCE_MS);
        state = all.stateIfInitialized();
    }
    if (state == nullptr) {
        ZEB_LOG_ERROR(log::netutils(), "GlobalEdgeStateController not initialized");
        ZEBLogger_flush();
        throw std::logic_error(
            "Unable to access GlobalEdgeState instance. GlobalEdgeStateController not initialized. Call init "
            "method before");
    }
    return state;
}

bool GlobalEdgeStateController::isInitialized() {
    Fields& all = fields();
    const ScopedLock lock(all.mutex);
    return all.initialized;
}

void GlobalEdgeStateController::setGlobalEdgeStateForTesting(std::shared_ptr<edge::GlobalEdgeState> state) {
    Fields& all = fields();
    const ScopedLock lock(all.mutex);
    all.initialized = state != nullptr;
    all.globalEdgeState = std::move(state);
    if (all.initialized) {
        all.initEvent.set();
    } else {
        all.initEvent.reset();
    }
}

}  // namespace zeb::netutils

#include "netutils/NetworkEventReporterImpl.h"

#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"
#include "core/ThreadPool.h"
#include "netutils/EdgeEventForwarder.h"
#include "netutils/NetworkEventReporterObserver.h"
#include "netutils/NetworkEventTask.h"

#include <cstdint>
#include <utility>

namespace zeb::netutils {

namespace {

using Type = NetworkEventTask::Type;

constexpr unsigned int NO_THREAD = 0;
constexpr unsigned int ONE_THREAD = 1;

/// Every transfer ends in a report; nobody minds one that is a moment late.
constexpr std::uint32_t REST_MS = 5;

std::shared_ptr<ThreadPool> createPool(unsigned int threads) {
    auto pool = std::make_shared<ThreadPool>(threads, threads, "NetEventReport", 60);
    pool->restBetweenTasks(REST_MS);
    return pool;
}

/// The process's one pool. Never destroyed: transfers may still report while the process ends.
class ReporterPool {
public:
    static ReporterPool& getInstance() {
        static auto& instance = *new ReporterPool;
        return instance;
    }

    /// Under load nearly every report is the hint that the network is in use: a row of them is one task.
    void enqueueHint(Type type, const std::string& label,
                     const std::shared_ptr<NetworkEventReporterObserver>& observer) {
        const ScopedLock lock(mutex_);
        const std::shared_ptr<NetworkEventTask> last = last_.lock();
        if (last == nullptr || !last->takeUp(type, label, observer)) {
            enqueueLocked(std::make_shared<NetworkEventTask>(type, label, observer));
        }
    }

    void enqueue(std::shared_ptr<NetworkEventTask> task) {
        const ScopedLock lock(mutex_);
        enqueueLocked(std::move(task));
    }

    void clearQueue() {
        std::shared_ptr<ThreadPool> pool;
        {
            const ScopedLock lock(mutex_);
            endRowLocked();
            pool = pool_;
        }
        if (pool != nullptr) {
            pool->clearQueue();
        }
    }

    void replace(std::shared_ptr<ThreadPool> pool) {
        const ScopedLock lock(mutex_);
        // Swapped, so that the former pool and its tasks are dropped after the lock has gone.
        pool_.swap(pool);
        endRowLocked();
    }

private:
    /// With mutex_ held, before the queue is emptied. The reports behind the one that is being told wait like
    /// those in the queue, but in the same task.
    void endRowLocked() {
        last_.reset();
        NetworkEventTask::endRows();
    }

    /// With mutex_ held, so that last_ is the last in the queue.
    void enqueueLocked(std::shared_ptr<NetworkEventTask> task) {
        if (pool_ == nullptr) {
            pool_ = createPool(ONE_THREAD);
        }
        last_ = task;
        pool_->enqueue(std::move(task), false, false);
    }

    Mutex mutex_;  ///< guards pool_ and last_, and keeps the two in step
    std::shared_ptr<ThreadPool> pool_;
    std::weak_ptr<NetworkEventTask> last_;  ///< one that has been dropped takes nothing up
};

void enqueueHint(const std::shared_ptr<NetworkEventReporterObserver>& observer, Type type,
                 const std::string& label) {
    ReporterPool::getInstance().enqueueHint(type, label, observer);
}

void logHint(const std::string& label) {
    ZEB_LOG_INFO(log::netutils(), "Event Label:" << label);
}

}  // namespace

NetworkEventReporterImpl::NetworkEventReporterImpl(std::shared_ptr<NetworkEventReporterObserver> observer)
    : observer_(std::move(observer)) {}

NetworkEventReporterImpl::~NetworkEventReporterImpl() = default;

void NetworkEventReporterImpl::hintNetworkInterfaceMightHaveDropped(const std::string& label) {
    enqueueHint(observer_, Type::HINT_NETWORK_INTERFACE_MIGHT_HAVE_DROPPED, label);
}

void NetworkEventReporterImpl::hintNetworkStackNotReady(const std::string& label) {
    enqueueHint(observer_, Type::HINT_NETWORK_STACK_NOT_READY, label);
}

void NetworkEventReporterImpl::hintNetworkIsInUse(const std::string& label) {
    enqueueHint(observer_, Type::HINT_NETWORK_IS_IN_USE, label);
}

void NetworkEventReporterImpl::hintHostOsIpInterfaceChanged(const std::string& label) {
    enqueueHint(observer_, Type::HINT_HOST_OS_IP_INTERFACE_CHANGED, label);
}

void NetworkEventReporterImpl::edgeInfrastructureEvent(const std::string& label, const std::string& server) {
    auto task = std::make_shared<NetworkEventTask>(Type::EDGE_INFRASTRUCTURE_EVENT, label, observer_);
    task->setServerForEdgeEvent(server);
    ReporterPool::getInstance().enqueue(std::move(task));
}

void NetworkEventReporterImpl::stop() {
    ReporterPool::getInstance().clearQueue();
}

void NetworkEventReporterImpl::disableNetworkEventReporterForTesting() {
    ReporterPool::getInstance().replace(createPool(NO_THREAD));
}

void NetworkEventReporterImpl::enableNetworkEventReporterForTesting() {
    ReporterPool::getInstance().replace(createPool(ONE_THREAD));
}

void NetworkEventReporterImpl::hintNetworkInterfaceMightHaveDroppedImpl(const std::string& label) {
    logHint(label);
    tellCallbacks("hintNetworkInterfaceMightHaveDropped");
    EdgeEventForwarder::forwardHint(EdgeEventForwarder::Hint::NETWORK_INTERFACE_DROPPED);
}

void NetworkEventReporterImpl::hintNetworkStackNotReadyImpl(const std::string& label) {
    logHint(label);
    tellCallbacks("hintNetworkStackNotReady");
    EdgeEventForwarder::forwardHint(EdgeEventForwarder::Hint::NETWORK_STACK_NOT_READY);
}

void NetworkEventReporterImpl::hintNetworkIsInUseImpl(const std::string& label) {
    logHint(label);
    tellCallbacks("hintNetworkIsInUse");
    EdgeEventForwarder::forwardHint(EdgeEventForwarder::Hint::NETWORK_ACTIVITY);
}

void NetworkEventReporterImpl::hintHostOsIpInterfaceChangedImpl(const std::string& label) {
    logHint(label);
    tellCallbacks("hintHostOsIpInterfaceChanged");
    EdgeEventForwarder::forwardHint(EdgeEventForwarder::Hint::IP_INTERFACE_CHANGED);
}

void NetworkEventReporterImpl::edgeInfrastructureEventImpl(const std::string& label,
                                                           const std::string& server) {
    ZEB_LOG_INFO(log::netutils(),
                 "Event Label: " << label << " server: '" << ZEBLogger_replacePIIData(server) << "'");
    tellCallbacks("hintedgeInfrastructureEvent");
    EdgeEventForwarder::forwardInfrastructureEvent(label, server);
}

void NetworkEventReporterImpl::tellCallbacks(const char* eventName) {
    if (observer_ != nullptr) {
        observer_->onNetworkEvent(eventName);
    }
}

}  // namespace zeb::netutils

#pragma once

#include "core/Event.h"
#include "core/Mutex.h"
#include "core/Runnable.h"
#include "core/ThreadPool.h"
#include "http/EdgeTransformer.h"
#include "http/MultiCurlConnection.h"
#include "http/MultiHttpClientImpl.h"
#include "http/UnresolvedHostCache.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zeb::http {

/// What a multi client works with behind its interface: the loop of the driving thread, the pool that takes a
/// request as far as its transfer, and the transfers in between.
///
/// A request is in one place at a time: in the pool; joining, while a pool thread adds its handle to the
/// multi handle; active; or cancelled, after clearTransfers, with its handle still in the multi handle. The
/// driving thread takes it out of the latter three when libcurl says that its transfer is over. Each call
/// takes the multi mutex or transfersMutex_ for that call alone, never both.
class MultiHttpClientImpl::RequestProcessing : public Runnable,
                                               public std::enable_shared_from_this<RequestProcessing> {
public:
    RequestProcessing(std::shared_ptr<MultiCurlConnection> multiConnection,
                      std::shared_ptr<dns::DnsHostResolver> resolver, unsigned int threads);
    ~RequestProcessing() override;

    /// The loop; until stopThread(). What is in transfer at its end is given up.
    void run() override;
    /// Has the loop end soon. Requests that are still in the pool are answered with REQUEST_LOST.
    void stopThread();

    /// Always SUCCESS. What listeners enqueue on the driving thread goes to the pool together, once all that
    /// have ended have been told: a pool thread that is woken finds them all, instead of being woken for
    /// each.
    HttpClientError::Error enqueueClientDataOnNewThread(std::shared_ptr<MultiHttpClientData> clientData);
    /// On a pool thread: edge and DNS, which may block, then into the multi handle.
    void enqueueClientData(std::shared_ptr<MultiHttpClientData> clientData);
    /// Cancels the active requests and forgets them. Their handles stay in the multi handle until the
    /// transfers have ended; the driving thread releases them then.
    void clearTransfers();
    void clearUnresolvedHostCache() { unresolvedHostCache_.clear(); }

private:
    using ClientData = std::shared_ptr<MultiHttpClientData>;
    using Transfers = std::map<void*, ClientData>;
    struct Joining {
        ClientData clientData;
        std::uint64_t attempt;
    };
    /// One that waits to be added. The request data lives in joiningTransfers_.
    struct Ready {
        HttpRequestData* requestData;
        void* easy;
        std::uint64_t attempt;
        std::string requestId;
    };

    // On pool threads.
    bool enforceEdgeUsagePolicy(const ClientData& clientData) const;
    bool applyTransformation(const std::shared_ptr<HttpRequestData>& requestData) const;
    void logEnforcingResult(EdgeTransformer::TransformRequestResult::Result result) const;
    void onAuthenticationFailed(HttpRequestData& requestData) const;
    void transfer(ClientData clientData);
    bool beginJoining(ClientData clientData, bool& carry);
    void addReadyTransfers();
    bool addToMultiHandle(HttpRequestData& requestData);
    ClientData takeJoining(void* easy, std::uint64_t attempt);
    void finishJoining(const Ready& ready);

    // On the driving thread.
    void performTransferRequests();
    int performMultiRequests();
    bool waitForActivity();
    bool decideToWait();
    void checkTransfersAndNotifyListeners();
    void finishTransfer(void* easy, int curlCode);
    ClientData takeTransfer(void* easy);
    bool failOver(const ClientData& clientData, HttpClientResult::Result result, int curlCode);
    void notifyListener(const ClientData& clientData, HttpClientResult::Result result);
    void collectAnswer(const ClientData& clientData);
    void releaseEndedTransfers();
    void handOverDeferredTasks();
    void giveUpTransfers();

    void removeFromMultiHandle(void* easy, HttpRequestData& requestData);
    void fail(const ClientData& clientData, HttpClientResult::Result result) const;
    void lose(const ClientData& clientData) const;
    const std::string& prefix() const { return multiConnection_->logPrefix(); }

    Event wakeEvent_{false};
    std::atomic<bool> running_{true};  ///< written under transfersMutex_
    const std::shared_ptr<MultiCurlConnection> multiConnection_;
    Transfers activeTransfers_;
    Mutex transfersMutex_;  ///< guards activeTransfers_ and the fields from joiningTransfers_ to ended_
    UnresolvedHostCache unresolvedHostCache_;

    std::map<void*, Joining> joiningTransfers_;
    std::vector<Ready> readyTransfers_;  ///< of those, the ones that no thread has begun to add
    bool carrierUnderWay_ = false;       ///< a pool thread waits to add whatever is ready
    Transfers cancelledTransfers_;
    std::vector<std::pair<void*, ClientData>> endedTransfers_;  ///< cancelled, and over
    std::uint64_t attempts_ = 0;
    bool ended_ = false;  ///< nobody drives any more

    bool handlesAdded_ = false;                         ///< since the last perform; under the multi mutex
    bool countMisleads_ = false;                        ///< of the driving thread alone
    std::vector<std::shared_ptr<Task>> deferredTasks_;  ///< of the driving thread alone

    ThreadPool enqueuePool_;
};

}  // namespace zeb::http

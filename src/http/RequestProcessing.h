#pragma once

#include "core/Event.h"
#include "core/Mutex.h"
#include "core/Runnable.h"
#include "core/ThreadPool.h"
#include "http/EdgeTransformer.h"
#include "http/HttpClientResult.h"
#include "http/HttpNetworkEvent.h"
#include "http/MultiCurlConnection.h"
#include "http/MultiHttpClientImpl.h"
#include "http/UnresolvedHostCache.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zeb::http {

/// What a multi client works with behind its interface: the loop of the driving thread, the pool that takes a
/// request as far as its transfer, and the transfers in between.
///
/// A request is in one place at a time: in the pool; ready, until the driving thread, before it lets libcurl
/// go on or waits, adds its handle to the multi handle; active; or cancelled, after clearTransfers, with its
/// handle still in the multi handle. The driving thread takes it out of the latter two when libcurl says that
/// its transfer is over. Each call takes the multi mutex or transfersMutex_ for that call alone, never both.
class MultiHttpClientImpl::RequestProcessing : public Runnable,
                                               public std::enable_shared_from_this<RequestProcessing> {
public:
    RequestProcessing(std::shared_ptr<MultiCurlConnection> multiConnection, HttpNetworkEvent networkEvent,
                      std::shared_ptr<dns::DnsHostResolver> resolver, unsigned int threads);
    ~RequestProcessing() override;

    /// The loop; until stopThread(). What is in transfer at its end is given up.
    void run() override;
    /// Has the loop end soon. Requests that are still in the pool are answered with REQUEST_LOST.
    void stopThread();

    /// To the pool, or past it. Always SUCCESS.
    HttpClientError::Error enqueueClientDataOnNewThread(std::shared_ptr<MultiHttpClientData> clientData);
    /// On a pool thread: edge and DNS, which may block; then the request is ready.
    void enqueueClientData(std::shared_ptr<MultiHttpClientData> clientData);
    /// Cancels the active requests and forgets them. Their handles stay in the multi handle until the
    /// transfers have ended; the driving thread releases them then.
    void clearTransfers();
    void clearUnresolvedHostCache() { unresolvedHostCache_.clear(); }

private:
    using ClientData = std::shared_ptr<MultiHttpClientData>;
    using Transfers = std::map<void*, ClientData>;
    class FailTask;

    bool becomesReadyAtOnce(ClientData& clientData);

    // On pool threads, or in place of that.
    bool enforceEdgeUsagePolicy(const ClientData& clientData,
                                const std::shared_ptr<common::Policy>& edgePolicy) const;
    bool applyTransformation(const std::shared_ptr<HttpRequestData>& requestData) const;
    void logEnforcingResult(EdgeTransformer::TransformRequestResult::Result result) const;
    void onAuthenticationFailed(HttpRequestData& requestData) const;
    bool becomeReady(ClientData& clientData);

    // On the driving thread.
    void performTransferRequests();
    int performMultiRequests();
    void addReadyTransfers();
    bool addToMultiHandle(void* easy);
    void addToActiveTransfers(void* easy, ClientData clientData);
    void tellOfFallenCount();
    bool waitForActivity();
    bool decideToWait();
    void checkTransfersAndNotifyListeners();
    void finishTransfer(void* easy, int curlCode);
    ClientData takeTransfer(void* easy);
    bool failOver(const ClientData& clientData, HttpClientResult::Result result, int curlCode);
    void notifyListener(const ClientData& clientData, HttpClientResult::Result result);
    void collectAnswer(const ClientData& clientData, const std::shared_ptr<common::Policy>& edgePolicy);
    void releaseEndedTransfers();
    void reportOutcomes();
    void giveUpTransfers();

    void removeFromMultiHandle(void* easy);
    void fail(const ClientData& clientData, HttpClientResult::Result result) const;
    void lose(const ClientData& clientData) const;
    const std::string& prefix() const { return multiConnection_->logPrefix(); }

    Event wakeEvent_{false};
    std::atomic<bool> running_{true};  ///< written under transfersMutex_
    const std::shared_ptr<MultiCurlConnection> multiConnection_;
    const HttpNetworkEvent networkEvent_;
    Transfers activeTransfers_;
    Mutex
        transfersMutex_;  ///< guards activeTransfers_ and the fields from readyTransfers_ to endedTransfers_
    UnresolvedHostCache unresolvedHostCache_;

    std::vector<ClientData> readyTransfers_;
    Transfers cancelledTransfers_;
    std::vector<std::pair<void*, ClientData>> endedTransfers_;  ///< cancelled, and over

    // Of the driving thread alone.
    std::vector<ClientData> batch_;                     ///< empty between two additions
    std::vector<Transfers::node_type> spareTransfers_;  ///< of activeTransfers_, empty
    int inTransfer_ = 0;                                ///< running after the last perform, and added since
    bool someHaveEnded_ = false;                        ///< in the last perform
    /// Reported together once all that have ended have been told: each report wakes the reporter's thread if
    /// that is asleep.
    std::vector<HttpNetworkEvent::Report> outcomes_;

    ThreadPool enqueuePool_;
};

}  // namespace zeb::http

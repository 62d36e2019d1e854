#include "cert/common/CertificateAsyncTask.h"

#include "cert/common/CertVerifierTask.h"
#include "cert/common/CertificateVerificationListener.h"
#include "core/Log.h"
#include "core/Mutex.h"
#include "core/ScopedLock.h"

#include <utility>

namespace zeb::cert {

namespace {

/// The task runs on a thread of the process: what a host's listener throws must not end that.
void tell(const CertificateTaskData& data, const CertResult& result) {
    if (data.listener == nullptr) {
        ZEB_LOG_WARNING(log::cert(), "No listener is available to be told the result of verification ["
                                         << data.requestId << "].");
        return;
    }
    ZEB_LOG_DEBUG(log::cert(), "Notifying listener ["
                                   << data.requestId
                                   << "] of the certificate verification result: " << result.loggable());
    try {
        data.listener->onCertificateVerified(data.requestId, result);
    } catch (...) {
        ZEB_LOG_ERROR(log::cert(),
                      "The listener of verification [" << data.requestId << "] has thrown an exception.");
    }
}

}  // namespace

CertificateAsyncTask::CertificateAsyncTask(std::shared_ptr<CertificateTaskData> data,
                                           std::shared_ptr<CertVerifierTask> owner)
    : data_(std::move(data)), owner_(std::move(owner)) {}

CertificateAsyncTask::~CertificateAsyncTask() = default;

void CertificateAsyncTask::execute() {
    if (owner_ == nullptr) {
        ZEB_LOG_WARNING(log::cert(),
                        "The task owner of the asynchronous certificate validation task is NULL, "
                        "unable to continue.");
        return;
    }
    ZEB_LOG_DEBUG(log::cert(), "About to execute the task for: " << data_->requestId);
    tell(*data_, owner_->executeTask(data_->instantResult, data_->matchedIdentifier, data_->certificateData,
                                     data_->identifierToDisplay));
}

std::uint32_t CertificateAsyncTask::GetAndIncrementInvocationId() {
    static Mutex* const mutex = new Mutex;  // never destroyed: tasks may outlive static destruction
    static std::uint32_t next = 1;
    const ScopedLock lock(*mutex);
    const std::uint32_t id = next++;
    if (next == 0) {
        next = 1;
    }
    return id;
}

}  // namespace zeb::cert

#pragma once

#include "cert/common/CertificateTaskData.h"
#include "core/Task.h"

#include <cstdint>
#include <memory>

namespace zeb::cert {

class CertVerifierTask;

/// One verification that waits for a user, on a thread of the shared pool, and then tells its listener. It
/// keeps its owner alive, so the verifier it came from may go meanwhile.
class CertificateAsyncTask : public Task {
public:
    /// The data must be there. Without an owner there is nobody to ask: the listener then hears nothing.
    CertificateAsyncTask(std::shared_ptr<CertificateTaskData> data, std::shared_ptr<CertVerifierTask> owner);
    ~CertificateAsyncTask() override;

    void execute() override;

    /// Unique in the process, from 1 on: 0 stands for no task at all.
    static std::uint32_t GetAndIncrementInvocationId();

private:
    const std::shared_ptr<CertificateTaskData> data_;
    const std::shared_ptr<CertVerifierTask> owner_;
};

}  // namespace zeb::cert

#pragma once

#include "cert/UserInteractingInvalidCertManagementPolicy.h"
#include "cert/common/CertificateCacheAccessor.h"
#include "cert/common/CertificateValidityCache.h"
#include "cert/common/InvalidCertInfo.h"
#include "cert/common/InvalidCertListener.h"
#include "cert/common/InvalidCertNotificationManager.h"
#include "cert/utils/CertificateData.h"
#include "common/DefaultPoliciesStore.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::cert {

using Statuses = std::set<CertStatus::Status>;

class MockInvalidCertListener : public InvalidCertListener {
public:
    MOCK_METHOD(void, prompUserForAction, (const InvalidCertInfo& info), (override));
    MOCK_METHOD(void, reportRejectedCert,
                (const std::string& fingerprint, const std::string& commonName,
                 const std::string& identifierToDisplay, const Statuses& statuses, const std::string& leafPem,
                 const std::vector<std::string>& chainPem),
                (override));
};

/// A host that keeps what it is asked, and does within the call what the test gives it. Any thread.
class RecordingListener : public InvalidCertListener {
public:
    using Answer = std::function<void(const InvalidCertInfo&)>;

    explicit RecordingListener(Answer answer = {}) : answer_(std::move(answer)) {}

    void prompUserForAction(const InvalidCertInfo& info) override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            infos_.push_back(info);
        }
        asked_.notify_all();
        if (answer_) {
            answer_(info);
        }
    }
    void reportRejectedCert(const std::string&, const std::string&, const std::string&, const Statuses&,
                            const std::string&, const std::vector<std::string>&) override {}

    std::vector<InvalidCertInfo> infos() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return infos_;
    }
    std::size_t calls() const { return infos().size(); }
    /// Returns once the host has been asked that often.
    void waitForCalls(std::size_t count) const {
        std::unique_lock<std::mutex> lock(mutex_);
        asked_.wait(lock, [&] { return infos_.size() >= count; });
    }

private:
    const Answer answer_;
    mutable std::mutex mutex_;  ///< guards infos_
    mutable std::condition_variable asked_;
    std::vector<InvalidCertInfo> infos_;
};

class FixedCertificateData : public CertificateData {
public:
    FixedCertificateData(std::string fingerprint, std::vector<std::string> pem, std::string commonName)
        : fingerprint_(std::move(fingerprint)), pem_(std::move(pem)), commonName_(std::move(commonName)) {}

    std::string getFingerprint() const override { return fingerprint_; }
    std::vector<std::string> getPem() const override { return pem_; }
    std::string getCommonName() const override { return commonName_; }

private:
    const std::string fingerprint_;
    const std::vector<std::string> pem_;
    const std::string commonName_;
};

using PromptingBuilder = UserInteractingInvalidCertManagementPolicy::
    PromptingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;
using NotifyingFailingBuilder = UserInteractingInvalidCertManagementPolicy::
    NotifyingFailingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;
using NotifyingSucceedingBuilder = UserInteractingInvalidCertManagementPolicy::
    NotifyingSucceedingAvoidableUserInteractingInvalidCertManagementPolicyBuilder;

/// Starts with nothing decided and nobody listening, and leaves nothing behind.
class InvalidCertTest : public testing::Test {
protected:
    using Policy = common::Policy;
    using Enforcing = common::Policy::PolicyEnforcingResult;
    using Class = common::Policy::PolicyFailureClass;
    using Value = InvalidCertManagementPolicy::PolicyValue;
    using Prompt = InvalidCertNotificationManager::PromptDecision;
    using Options = InvalidCertNotificationManager::AcceptanceOptions;
    using Cache = CertificateValidityCache;

    static constexpr char FINGERPRINT[] = "0a 1b ";

    InvalidCertTest() {
        manager()->clearForTesting();  // a static object may have had one made
        common::DefaultPoliciesStore::reset();
    }
    ~InvalidCertTest() override {
        const auto last = manager();
        EXPECT_TRUE(last->checkIntegrity());
        last->clearForTesting();
        Cache::clear();
    }

    static std::shared_ptr<InvalidCertNotificationManager> manager() {
        return InvalidCertNotificationManager::getInstance();
    }
    std::shared_ptr<RecordingListener> listen(RecordingListener::Answer answer = {}) {
        auto listener = std::make_shared<RecordingListener>(std::move(answer));
        manager()->registerInvalidCertListener(listener);
        return listener;
    }

    static void accept(const InvalidCertInfo& info) {
        EXPECT_TRUE(manager()->acceptInvalidCert(info.fingerprint, {Options::ACCEPT_FOR_SESSION}));
    }
    static void reject(const InvalidCertInfo& info) {
        EXPECT_TRUE(manager()->rejectInvalidCert(info.fingerprint));
    }
    static void rejectOnce(const InvalidCertInfo& info) {
        EXPECT_TRUE(manager()->rejectInvalidCertOnce(info.fingerprint));
    }
};

}  // namespace zeb::cert

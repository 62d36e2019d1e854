#include "../InvalidCertTestSupport.h"
#include "cert/common/CertVerificationFailureManager.h"
#include "zeblogger/ZEBLogger.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <future>
#include <random>
#include <stdexcept>
#include <thread>

namespace zeb::cert {
namespace {

using D = CertAcceptanceDecision;

constexpr std::size_t THREADS = 1000;
constexpr std::size_t CERTIFICATES = 10;
constexpr std::size_t ANSWERERS = 4;

enum class Reaction { ACCEPT, ACCEPT_WITHIN_THE_CALL, REJECT, REJECT_ONCE, ACCEPT_NOTHING, THROW };

/// What the user does about one certificate, question by question. The last one is remembered, so that there
/// is no further question.
using Script = std::vector<Reaction>;

Script scriptOf(std::size_t certificate) {
    Script script;
    constexpr std::array<Reaction, 3> PASSING{Reaction::REJECT_ONCE, Reaction::THROW,
                                              Reaction::ACCEPT_NOTHING};
    for (std::size_t question = 0; question < certificate; ++question) {
        script.push_back(PASSING[(certificate + question) % PASSING.size()]);
    }
    constexpr std::array<Reaction, 3> LASTING{Reaction::ACCEPT, Reaction::REJECT,
                                              Reaction::ACCEPT_WITHIN_THE_CALL};
    script.push_back(LASTING[certificate % LASTING.size()]);
    return script;
}

/// A host with a user who answers later, from several threads, whichever question comes to mind.
class HostUnderStress : public InvalidCertListener {
public:
    /// Nothing is answered before `opened`: by then the other threads have come, and have joined.
    explicit HostUnderStress(std::shared_future<void> opened) : opened_(std::move(opened)) {
        for (std::size_t i = 0; i < ANSWERERS; ++i) {
            answerers_.emplace_back([this, i] { answerUntilTheEnd(static_cast<unsigned int>(i)); });
        }
    }
    ~HostUnderStress() override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            ended_ = true;
        }
        asked_.notify_all();
        for (std::thread& answerer : answerers_) {
            answerer.join();
        }
    }

    void prompUserForAction(const InvalidCertInfo& info) override {
        const Reaction reaction = next(info.fingerprint);
        opened_.wait();
        if (reaction == Reaction::THROW) {
            throw std::logic_error("no window");
        }
        if (reaction == Reaction::ACCEPT_WITHIN_THE_CALL) {
            answer(info.fingerprint, reaction);
            return;
        }
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            questions_.emplace_back(info.fingerprint, reaction);
        }
        asked_.notify_one();
    }
    void reportRejectedCert(const std::string&, const std::string&, const std::string&, const Statuses&,
                            const std::string&, const std::vector<std::string>&) override {}

    std::size_t calls(const std::string& fingerprint) const {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto entry = calls_.find(fingerprint);
        return entry == calls_.end() ? 0 : entry->second;
    }

private:
    Reaction next(const std::string& fingerprint) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const Script script = scriptOf(std::stoul(fingerprint));
        const std::size_t question = calls_[fingerprint]++;
        return script.at(std::min(question, script.size() - 1));
    }

    static void answer(const std::string& fingerprint, Reaction reaction) {
        using Options = InvalidCertNotificationManager::AcceptanceOptions;
        const auto manager = InvalidCertNotificationManager::getInstance();
        EXPECT_FALSE(manager->rejectInvalidCert("a stranger"));
        switch (reaction) {
            case Reaction::ACCEPT:
            case Reaction::ACCEPT_WITHIN_THE_CALL:
                EXPECT_TRUE(manager->acceptInvalidCert(fingerprint, {Options::ACCEPT_FOR_SESSION}));
                EXPECT_FALSE(manager->rejectInvalidCert(fingerprint));  // answered, or over already
                break;
            case Reaction::REJECT:
                EXPECT_TRUE(manager->rejectInvalidCert(fingerprint));
                EXPECT_FALSE(manager->acceptInvalidCert(fingerprint, {Options::ACCEPT_FOR_SESSION}));
                break;
            case Reaction::REJECT_ONCE:
                EXPECT_TRUE(manager->rejectInvalidCertOnce(fingerprint));
                break;
            case Reaction::ACCEPT_NOTHING:
                EXPECT_TRUE(manager->acceptInvalidCert(fingerprint, {}));
                break;
            case Reaction::THROW:
                break;
        }
        EXPECT_TRUE(manager->checkIntegrity());
    }

    void answerUntilTheEnd(unsigned int seed) {
        std::minstd_rand random(seed + 1);
        std::unique_lock<std::mutex> lock(mutex_);
        while (true) {
            asked_.wait(lock, [&] { return ended_ || !questions_.empty(); });
            if (questions_.empty()) {
                return;
            }
            const auto question =
                questions_.begin() + static_cast<std::ptrdiff_t>(random() % questions_.size());
            const auto [fingerprint, reaction] = *question;
            questions_.erase(question);
            lock.unlock();
            answer(fingerprint, reaction);
            lock.lock();
        }
    }

    const std::shared_future<void> opened_;
    mutable std::mutex mutex_;  ///< guards all below but the threads
    std::condition_variable asked_;
    std::deque<std::pair<std::string, Reaction>> questions_;
    std::map<std::string, std::size_t> calls_;
    bool ended_ = false;
    std::vector<std::thread> answerers_;
};

/// How often each decision was given.
using Tally = std::map<D::Decision, std::size_t>;

Tally expectedTally(std::size_t certificate) {
    const Script script = scriptOf(certificate);
    Tally tally;
    for (std::size_t question = 0; question + 1 < script.size(); ++question) {
        ++tally[script[question] == Reaction::REJECT_ONCE ? D::NO : D::POLICY_ENFORCEMENT_ERROR];
    }
    tally[script.back() == Reaction::REJECT ? D::NO : D::YES] += THREADS / CERTIFICATES - (script.size() - 1);
    return tally;
}

class InvalidCertStressTest : public InvalidCertTest {};

TEST_F(InvalidCertStressTest, AThousandVerificationsOfTenCertificatesAllGetTheirAnswer) {
    LogController::getInstance()->setLevel(0);
    std::promise<void> allHaveCome;
    const auto host = std::make_shared<HostUnderStress>(allHaveCome.get_future().share());
    manager()->registerInvalidCertListener(host);
    const std::shared_ptr<Policy> policy = PromptingBuilder().build();

    std::atomic<std::size_t> come{0};
    std::mutex mutex;
    std::vector<Tally> tallies(CERTIFICATES);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, certificate = i % CERTIFICATES] {
            const auto data = std::make_shared<FixedCertificateData>(std::to_string(certificate),
                                                                     std::vector<std::string>{"leaf"}, "CN");
            Statuses statuses{CertStatus::UNKNOWN};
            if (++come == THREADS) {
                allHaveCome.set_value();
            }
            const auto decision = CertVerificationFailureManager::manageCertValidationFailure(
                data, "asked.test", "Shown", statuses, policy);
            EXPECT_EQ(decision == D::YES, statuses == Statuses{CertStatus::VALID});
            const std::lock_guard<std::mutex> lock(mutex);
            ++tallies[certificate][decision];
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    for (std::size_t certificate = 0; certificate < CERTIFICATES; ++certificate) {
        const std::string fingerprint = std::to_string(certificate);
        EXPECT_EQ(expectedTally(certificate), tallies[certificate]) << "certificate " << certificate;
        EXPECT_EQ(scriptOf(certificate).size(), host->calls(fingerprint)) << "certificate " << certificate;
        EXPECT_FALSE(manager()->rejectInvalidCert(fingerprint)) << "a request was left behind";
    }
    EXPECT_TRUE(manager()->checkIntegrity());
}

TEST_F(InvalidCertStressTest, ManyThreadsAtOneBadServerAskOnce) {
    LogController::getInstance()->setLevel(0);
    const std::shared_ptr<Policy> policy = PromptingBuilder().build();
    for (int round = 0; round < 50; ++round) {
        Cache::clear();
        const auto listener = listen(accept);
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                Statuses statuses{CertStatus::UNKNOWN};
                const auto data = std::make_shared<FixedCertificateData>(
                    FINGERPRINT, std::vector<std::string>{"leaf"}, "CN");
                EXPECT_EQ(D::YES, CertVerificationFailureManager::manageCertValidationFailure(
                                      data, "asked.test", "Shown", statuses, policy));
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_EQ(1U, listener->calls());
    }
}

TEST_F(InvalidCertStressTest, ListenersPoliciesAndQuestionsComeAndGoAtOnce) {
    LogController::getInstance()->setLevel(0);
    std::vector<std::thread> threads;
    for (int worker = 0; worker < 4; ++worker) {
        threads.emplace_back([&, worker] {
            const std::string fingerprint = std::to_string(worker);
            for (int round = 0; round < 100; ++round) {
                listen(rejectOnce);
                Statuses statuses{CertStatus::UNKNOWN};
                const CertificateCacheAccessor accessor(fingerprint, statuses, PromptingBuilder().build());
                EXPECT_EQ(Prompt::DENY, manager()->promptUserForAction("CN", "", "", statuses, fingerprint,
                                                                       "", {}, accessor));
                manager()->reportRejectedCert(fingerprint, "CN", "", statuses, "", {});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(manager()->checkIntegrity());
}

}  // namespace
}  // namespace zeb::cert

#include "core/SecureStringReader.h"
#include "http/ProxyAuthenticationHandler.h"
#include "support/LogCapture.h"
#include "support/ProxyHost.h"

#include <atomic>
#include <pthread.h>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using testing::ElementsAre;
using testing::Pair;
using zeb::test::LogCapture;

constexpr char PROXY[] = "http://proxy:8080";

struct Stored {
    std::string username;
    std::string password;
    std::string authType;
};

std::string clearText(const SecureString& secret) {
    SecureStringReader reader;
    secret.getUnsecureString(reader);
    return {reader.c_str(), reader.getBufSize()};
}

class ProxyAuthenticationHandlerTest : public testing::Test {
protected:
    ProxyAuthenticationHandlerTest() {
        host_->clear();
        log_.clear();
    }
    ~ProxyAuthenticationHandlerTest() override { host_->clear(); }

    Stored storedFor(const std::string& proxyUrl) {
        Stored stored;
        SecureString password;
        handler_.getProxyCredential(proxyUrl, stored.username, password, stored.authType);
        stored.password = clearText(password);
        return stored;
    }
    void park(bool wait) {
        handler_.handleProxyAuthRequired(
            PROXY, wait, [retried = retried_] { retried->add(); },
            [finished = finished_] { finished->add(); });
    }

    std::shared_ptr<ProxyHost> host_ = ProxyHost::instance();
    ProxyAuthenticationHandler& handler_ = ProxyHost::handler();
    // Shared with what stays parked: the handler never forgets a finish function.
    std::shared_ptr<Counter> retried_ = std::make_shared<Counter>();
    std::shared_ptr<Counter> finished_ = std::make_shared<Counter>();
    LogCapture log_;
};

// --- credentials

TEST_F(ProxyAuthenticationHandlerTest, ThereIsOnePerProcess) {
    EXPECT_EQ(ProxyAuthenticationHandler::getInstance(), ProxyAuthenticationHandler::getInstance());
}

TEST_F(ProxyAuthenticationHandlerTest, InitialCredentialsAreStoredWithTheirSchemeAndNothingRuns) {
    park(true);
    handler_.initProxyCredential(PROXY, "user", SecureString("pass"), "NTLM");
    const Stored stored = storedFor(PROXY);
    EXPECT_EQ(stored.username, "user");
    EXPECT_EQ(stored.password, "pass");
    EXPECT_EQ(stored.authType, "NTLM");
    EXPECT_FALSE(log_.contains("Retry: "));
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, "Initial proxy credential for "));
}

TEST_F(ProxyAuthenticationHandlerTest, TheHostsAnswerIsLoggedAsFarAsItCounts) {
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_EQ(log_.count(" stored"), 1U);
    handler_.setProxyCredential(PROXY, "user", SecureString());
    EXPECT_EQ(log_.count("Proxy credential for "), 2U);
    EXPECT_EQ(log_.count(" not complete"), 1U);
}

TEST_F(ProxyAuthenticationHandlerTest, InitialCredentialsThatAreNotCompleteAreNotStored) {
    handler_.initProxyCredential(PROXY, "user", SecureString("pass"), "NTLM");
    handler_.initProxyCredential(PROXY, "other", SecureString(), "BASIC");
    handler_.initProxyCredential(PROXY, "", SecureString("other"), "BASIC");
    EXPECT_EQ(storedFor(PROXY).username, "user");
    EXPECT_EQ(storedFor(PROXY).password, "pass");
    EXPECT_EQ(storedFor(PROXY).authType, "NTLM");
}

TEST_F(ProxyAuthenticationHandlerTest, LaterCredentialsLeaveTheSchemeAlone) {
    handler_.initProxyCredential(PROXY, "user", SecureString("pass"), "DIGEST");
    handler_.setProxyCredential("http://other:1", "second", SecureString("word"));
    const Stored stored = storedFor("http://other:1");
    EXPECT_EQ(stored.username, "second");
    EXPECT_EQ(stored.password, "word");
    EXPECT_EQ(stored.authType, "DIGEST");
    EXPECT_EQ(storedFor(PROXY).username, "");
}

TEST_F(ProxyAuthenticationHandlerTest, AnEmptyProxyUrlIsLoggedAndTheCredentialsAreStored) {
    handler_.initProxyCredential("", "user", SecureString("pass"), "BASIC");
    EXPECT_TRUE(log_.contains("Proxy address is empty!"));
    EXPECT_EQ(storedFor(PROXY).username, "") << "no proxy is meant by an empty address";
    EXPECT_EQ(storedFor("").username, "");
}

TEST_F(ProxyAuthenticationHandlerTest, CredentialsAreFoundByAPartOfTheStoredUrl) {
    handler_.setProxyCredential("http://proxy:8080", "user", SecureString("pass"));
    EXPECT_EQ(storedFor("proxy:8080").username, "user");
    EXPECT_EQ(storedFor("http://proxy:8080").username, "user");
    EXPECT_EQ(storedFor("proxy:8081").username, "");
    handler_.setProxyCredential("proxy", "user", SecureString("pass"));
    EXPECT_EQ(storedFor("proxy:8080").username, "") << "the stored URL is the longer one, never the shorter";
}

TEST_F(ProxyAuthenticationHandlerTest, OutputsStandWhenNothingIsFound) {
    std::string username = "mine";
    SecureString password("mine too");
    std::string authType = "ANY";
    handler_.getProxyCredential(PROXY, username, password, authType);
    EXPECT_EQ(username, "mine");
    EXPECT_EQ(clearText(password), "mine too");
    EXPECT_EQ(authType, "ANY");
}

TEST_F(ProxyAuthenticationHandlerTest, ResetForgetsCredentialsAndProxyInfoButNotWhatIsParked) {
    park(true);
    handler_.initProxyCredential(PROXY, "user", SecureString("pass"), "NTLM");
    handler_.updateProxyInfo(true, "NTLM");
    handler_.reset();
    EXPECT_EQ(storedFor(PROXY).username, "");
    handler_.updateProxyInfo(false, "");
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "NTLM"))) << "no proxy is the state after a reset";
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_TRUE(retried_->waitFor(1));
    EXPECT_EQ(storedFor(PROXY).authType, "NONE");
}

TEST_F(ProxyAuthenticationHandlerTest, NoSecretAndNoUserReachTheLog) {
    handler_.initProxyCredential(PROXY, "someuser", SecureString("somesecret"), "BASIC");
    handler_.setProxyCredential(PROXY, "someuser", SecureString("somesecret"));
    EXPECT_FALSE(log_.contains("somesecret"));
    EXPECT_FALSE(log_.contains("someuser"));
}

// --- parking

TEST_F(ProxyAuthenticationHandlerTest, TheHostIsAskedWithTheProxysUrl) {
    park(true);
    EXPECT_THAT(host_->waitForAsked(1), ElementsAre(PROXY));
    EXPECT_TRUE(log_.contains("Handle proxy authentication required."));
    EXPECT_EQ(retried_->get(), 0);
    EXPECT_EQ(finished_->get(), 0);
}

TEST_F(ProxyAuthenticationHandlerTest, ARequestThatDoesNotWaitIsFinishedOnTheCallersThread) {
    std::thread::id thread;
    handler_.handleProxyAuthRequired(
        PROXY, false, [] {}, [&thread] { thread = std::this_thread::get_id(); });
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(ProxyAuthenticationHandlerTest, ARequestThatDoesNotWaitIsFinishedOnceAndRetriedAllTheSame) {
    park(false);
    EXPECT_EQ(finished_->get(), 1);
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_TRUE(retried_->waitFor(1));
    handler_.setProxyCredential(PROXY, "", SecureString());
    EXPECT_EQ(finished_->get(), 1);
}

TEST_F(ProxyAuthenticationHandlerTest, EmptyFunctionsAreAccepted) {
    handler_.handleProxyAuthRequired(PROXY, false, nullptr, nullptr);
    handler_.handleProxyAuthRequired(PROXY, true, nullptr, nullptr);
    park(true);
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_TRUE(retried_->waitFor(1));
}

TEST_F(ProxyAuthenticationHandlerTest, CredentialsRunEveryRetryOnceAndNoFinish) {
    park(true);
    park(false);
    park(true);
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_TRUE(retried_->waitFor(3));
    EXPECT_TRUE(log_.contains("Retry: 1"));
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_EQ(retried_->get(), 3);
    EXPECT_EQ(finished_->get(), 1);
}

TEST_F(ProxyAuthenticationHandlerTest, BothKindsRunInTheSharedPoolUnderTheirNames) {
    const auto retrys = std::make_shared<std::string>();
    const auto finishs = std::make_shared<std::string>();
    const auto told = [](const std::shared_ptr<Counter>& count, const std::shared_ptr<std::string>& name) {
        return [count, name] {
            if (count->get() == 0) {  // a finish function runs again in later tests
                char text[16] = "";
                pthread_getname_np(pthread_self(), text, sizeof(text));
                *name = text;
            }
            count->add();
        };
    };
    handler_.handleProxyAuthRequired(PROXY, true, told(retried_, retrys), told(finished_, finishs));
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_TRUE(retried_->waitFor(1));
    EXPECT_EQ(*retrys, "retryFunc");
    handler_.setProxyCredential(PROXY, "", SecureString());
    EXPECT_TRUE(finished_->waitFor(1));
    EXPECT_EQ(*finishs, "finishFunc");
}

TEST_F(ProxyAuthenticationHandlerTest, NeitherUserNorPasswordMeansNo) {
    park(true);
    park(true);
    handler_.setProxyCredential(PROXY, "", SecureString());
    EXPECT_TRUE(finished_->waitFor(2));
    EXPECT_TRUE(log_.contains("Retry: 0"));
    EXPECT_EQ(retried_.use_count(), 1) << "the retries are no longer parked";
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_EQ(retried_->get(), 0) << "a refusal drops the retries";
}

TEST_F(ProxyAuthenticationHandlerTest, AUserWithoutPasswordRetriesWithTheFormerCredential) {
    handler_.initProxyCredential(PROXY, "user", SecureString("pass"), "BASIC");
    park(true);
    handler_.setProxyCredential(PROXY, "other", SecureString());
    EXPECT_TRUE(retried_->waitFor(1));
    EXPECT_EQ(storedFor(PROXY).username, "user");
    EXPECT_EQ(storedFor(PROXY).password, "pass");
}

TEST_F(ProxyAuthenticationHandlerTest, APasswordWithoutUserRetriesToo) {
    park(true);
    handler_.setProxyCredential(PROXY, "", SecureString("pass"));
    EXPECT_TRUE(retried_->waitFor(1));
    EXPECT_EQ(storedFor(PROXY).username, "");
}

TEST_F(ProxyAuthenticationHandlerTest, FinishFunctionsStayAndRunAgainOnALaterRefusal) {
    park(true);
    handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
    EXPECT_TRUE(retried_->waitFor(1));
    handler_.setProxyCredential(PROXY, "", SecureString());
    EXPECT_TRUE(finished_->waitFor(1));
    handler_.setProxyCredential(PROXY, "", SecureString());
    EXPECT_TRUE(finished_->waitFor(2));
    EXPECT_EQ(retried_->get(), 1);
}

TEST_F(ProxyAuthenticationHandlerTest, WhatADroppedRetryOwnsMayCallBack) {
    // The last owner of something whose end asks the handler from another thread and waits for the answer.
    const auto owned = std::shared_ptr<int>(new int, [this](int* value) {
        delete value;
        std::thread([this] { handler_.setProxyCredential(PROXY, "", SecureString()); }).join();
    });
    {
        std::shared_ptr<int> moved = owned;
        handler_.handleProxyAuthRequired(
            PROXY, true, [moved] {}, nullptr);
    }
    const_cast<std::shared_ptr<int>&>(owned).reset();
    handler_.setProxyCredential(PROXY, "", SecureString());
}

TEST_F(ProxyAuthenticationHandlerTest, TheHostMayAnswerFromWithinTheQuestion) {
    host_->setWhenAsked(
        [this](const std::string& url) { handler_.setProxyCredential(url, "user", SecureString("pass")); });
    park(true);
    EXPECT_TRUE(retried_->waitFor(1));
}

TEST_F(ProxyAuthenticationHandlerTest, ANullCallbackIsIgnored) {
    handler_.registerProxyAuthenticationCallback(nullptr);
    park(true);
    EXPECT_EQ(host_->waitForAsked(1).size(), 1U);
}

TEST_F(ProxyAuthenticationHandlerTest, ACallbackRegisteredTwiceIsAskedOnce) {
    handler_.registerProxyAuthenticationCallback(host_);
    park(true);
    EXPECT_EQ(host_->waitForAsked(1).size(), 1U);
}

TEST_F(ProxyAuthenticationHandlerTest, ManyThreadsParkAndAnswer) {
    constexpr int ROUNDS = 100;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            for (int round = 0; round < ROUNDS; ++round) {
                park(true);
                handler_.setProxyCredential(PROXY, "user", SecureString("pass"));
                handler_.updateProxyInfo(round % 2 == 0, "BASIC");
                storedFor(PROXY);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(retried_->waitFor(4 * ROUNDS));
    EXPECT_EQ(finished_->get(), 0);
}

// --- which proxy is in use

TEST_F(ProxyAuthenticationHandlerTest, TheHostHearsOfAProxyInUpperCaseAndOnlyOnAChange) {
    handler_.updateProxyInfo(true, "ntlm");
    handler_.updateProxyInfo(true, "NTLM");
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "NTLM")));
    EXPECT_EQ(log_.count("UseProxy: 1 ProxyAuthType: ntlm"), 1U);
}

TEST_F(ProxyAuthenticationHandlerTest, NoProxyAtTheBeginningIsNoChange) {
    handler_.updateProxyInfo(false, "");
    handler_.updateProxyInfo(false, "BASIC");
    EXPECT_TRUE(host_->told().empty());
}

TEST_F(ProxyAuthenticationHandlerTest, AProxyThatAsksForNothingIsNoauth) {
    handler_.updateProxyInfo(true, "");
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "NOAUTH")));
}

TEST_F(ProxyAuthenticationHandlerTest, WithoutProxyTheSchemeIsNone) {
    handler_.updateProxyInfo(true, "BASIC");
    handler_.updateProxyInfo(false, "BASIC");
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "BASIC"), Pair(false, "NONE")));
}

TEST_F(ProxyAuthenticationHandlerTest, AnotherSchemeIsAChange) {
    handler_.updateProxyInfo(true, "BASIC");
    handler_.updateProxyInfo(true, "NEGOTIATE");
    EXPECT_THAT(host_->told(), ElementsAre(Pair(true, "BASIC"), Pair(true, "NEGOTIATE")));
}

}  // namespace
}  // namespace zeb::http::test

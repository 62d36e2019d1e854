#include "netutils/ApplicationEventHandler.h"

#include <cstdlib>

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

TEST(ApplicationEventHandlerTest, IsOnePerProcess) {
    ASSERT_NE(nullptr, ApplicationEventHandler::getInstance());
    EXPECT_EQ(ApplicationEventHandler::getInstance(), ApplicationEventHandler::getInstance());
}

TEST(ApplicationEventHandlerTest, KnowsOfNoKillAtFirst) {
    EXPECT_FALSE(ApplicationEventHandler::getInstance()->isApplicationKilled());
}

// In a process of its own, as there is no way back.
TEST(ApplicationEventHandlerDeathTest, AKilledApplicationStaysKilled) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            const auto handler = ApplicationEventHandler::getInstance();
            handler->onApplicationKilled();
            handler->onApplicationKilled();
            std::_Exit(ApplicationEventHandler::getInstance()->isApplicationKilled() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_FALSE(ApplicationEventHandler::getInstance()->isApplicationKilled());
}

}  // namespace
}  // namespace zeb::netutils::test

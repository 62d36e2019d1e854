#include "edge/GlobalEdgeState.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

namespace zeb::edge::test {
namespace {

using zeb::test::printed;

using TerminateResult = GlobalEdgeState::TerminateEdgeSessionResult;

TEST(TerminateEdgeSessionResultTest, EveryValuePrintsItsNameButTheUnavailableConfiguration) {
    const std::pair<TerminateResult::Result, const char*> rows[] = {
        {TerminateResult::SUCCESS, "SUCCESS"},
        {TerminateResult::INVALID_CREDENTIALS, "INVALID_CREDENTIALS"},
        {TerminateResult::EDGE_CONNECTIVITY_UNAVAILABLE, "EDGE_CONNECTIVITY_UNAVAILABLE"},
        {TerminateResult::EDGE_CONFIG_UNAVAILABLE, "Unexpected value (3)"},
        {TerminateResult::UNKNOWN_ERROR, "UNKNOWN_ERROR"},
    };
    int number = 0;
    for (const auto& [value, name] : rows) {
        EXPECT_EQ(number, value) << name;
        EXPECT_EQ(name, printed(value));
        ++number;
    }
}

TEST(TerminateEdgeSessionResultTest, AnUnknownValuePrintsAsUnexpected) {
    EXPECT_EQ("Unexpected value (5)", printed(static_cast<TerminateResult::Result>(5)));
}

}  // namespace
}  // namespace zeb::edge::test

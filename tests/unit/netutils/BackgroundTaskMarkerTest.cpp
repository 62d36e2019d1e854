#include "netutils/BackgroundTaskMarker.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

namespace zeb::netutils::test {
namespace {

using zeb::test::LogCapture;

TEST(BackgroundTaskMarkerTest, ProgressIsLoggedWithTheTasksNameAndAnIdOfZero) {
    const LogCapture log;
    const BackgroundTaskMarker marker("MonitoringState.doNetworkSensing");
    EXPECT_TRUE(log.lines().empty());
    marker.markProgress();
    marker.markProgress();
    EXPECT_EQ(log.count("Progressing through background task MonitoringState.doNetworkSensing, id 0."), 2U);
    EXPECT_EQ(log.linesOf("zeb.netutils").size(), 2U);
}

}  // namespace
}  // namespace zeb::netutils::test

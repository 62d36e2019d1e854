#include "netutils/NetworkEventReporter.h"
#include "netutils/adapters/HttpEventReporterAdapter.h"

#include <memory>
#include <string>

#include <gmock/gmock.h>

namespace zeb::netutils::adapters::test {
namespace {

using ::testing::StrictMock;

class MockNetworkEventReporter : public NetworkEventReporter {
public:
    MOCK_METHOD(void, hintNetworkInterfaceMightHaveDropped, (const std::string&), (override));
    MOCK_METHOD(void, hintNetworkStackNotReady, (const std::string&), (override));
    MOCK_METHOD(void, hintNetworkIsInUse, (const std::string&), (override));
    MOCK_METHOD(void, hintHostOsIpInterfaceChanged, (const std::string&), (override));
    MOCK_METHOD(void, edgeInfrastructureEvent, (const std::string&, const std::string&), (override));
};

class HttpEventReporterAdapterTest : public testing::Test {
protected:
    const std::shared_ptr<StrictMock<MockNetworkEventReporter>> reporter =
        std::make_shared<StrictMock<MockNetworkEventReporter>>();
    HttpEventReporterAdapter adapter{reporter};
};

TEST_F(HttpEventReporterAdapterTest, ADroppedInterfaceIsPassedOn) {
    EXPECT_CALL(*reporter, hintNetworkInterfaceMightHaveDropped("reason"));
    adapter.hintNetworkInterfaceMightHaveDropped("reason");
}

TEST_F(HttpEventReporterAdapterTest, AStackThatIsNotReadyIsPassedOn) {
    EXPECT_CALL(*reporter, hintNetworkStackNotReady("reason"));
    adapter.hintNetworkStackNotReady("reason");
}

TEST_F(HttpEventReporterAdapterTest, ANetworkInUseIsPassedOn) {
    EXPECT_CALL(*reporter, hintNetworkIsInUse("reason"));
    adapter.hintNetworkIsInUse("reason");
}

TEST_F(HttpEventReporterAdapterTest, AnEdgeEventIsPassedOnWithItsNameAndItsServer) {
    EXPECT_CALL(*reporter, edgeInfrastructureEvent("name", "server"));
    adapter.edgeInfrastructureEvent("name", "server");
}

TEST(HttpEventReporterAdapterWithoutReporterTest, NobodyIsTold) {
    HttpEventReporterAdapter mute(nullptr);
    mute.hintNetworkInterfaceMightHaveDropped("reason");
    mute.hintNetworkStackNotReady("reason");
    mute.hintNetworkIsInUse("reason");
    mute.edgeInfrastructureEvent("name", "server");
}

}  // namespace
}  // namespace zeb::netutils::adapters::test

#include "ip/ConnectionInformation.h"
#include "netutils/GlobalInit.h"
#include "support/Lab.h"

#include <string>

#include <gmock/gmock.h>

namespace zeb::ip {
namespace {

namespace lab = zeb::test::lab;
using R = ConnectionInformationResult;
using V = IpFamilyPreferencePolicy::PolicyValue;

class ConnectionInformationLabTest : public zeb::test::LabTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (!IsSkipped()) {
            ASSERT_EQ(netutils::GlobalInit(), 0);
        }
    }

    static R connect(const std::string& host, unsigned long port = 80, V::Value family = V::DUAL_STACK,
                     unsigned long timeout = 10) {
        return ConnectionInformation::buildConnectionInformation()->getConnectionInformationForHost(
            host, port, timeout, true, family);
    }
};

TEST_F(ConnectionInformationLabTest, TheAddressesAreThoseOfTheConnection) {
    const R result = connect(lab::OTHER);
    EXPECT_EQ(result.result, R::Success);
    EXPECT_EQ(result.localAddress.getAddress(), "127.0.0.1");
    EXPECT_EQ(result.destinationAddress.getAddress(), "127.0.0.2");
    EXPECT_EQ(connect("edge-b.corp.test").destinationAddress.getAddress(), "127.0.0.2") << "by DNS";
}

TEST_F(ConnectionInformationLabTest, TheFamilyDecidesWhichOfTwoAddressesIsTaken) {
    EXPECT_EQ(connect("both.lab.test", 80, V::IPV4_ONLY).destinationAddress.getAddress(), "127.0.0.1");
    if (lab::hasIpv6()) {
        EXPECT_EQ(connect("both.lab.test", 80, V::IPV6_ONLY).destinationAddress.getAddress(), "::1");
        EXPECT_EQ(connect("six.lab.test").destinationAddress.getAddress(), "::1");
    }
    EXPECT_EQ(connect("only-six.corp.test", 80, V::IPV4_ONLY).result, R::ErrorCouldNotConnect);
}

TEST_F(ConnectionInformationLabTest, APortThatSpeaksTlsIsConnectedToWithoutAHandshake) {
    EXPECT_EQ(connect("untrusted.lab.test", 443).result, R::Success);
}

TEST_F(ConnectionInformationLabTest, EveryWayOfNotConnectingCouldNotConnect) {
    EXPECT_EQ(connect(lab::DEAD).result, R::ErrorCouldNotConnect);
    EXPECT_EQ(connect(lab::ORIGIN, 8090).result, R::ErrorCouldNotConnect);
    EXPECT_EQ(connect(lab::UNROUTED).result, R::ErrorCouldNotConnect);
    EXPECT_EQ(connect(lab::UNKNOWN).result, R::ErrorCouldNotConnect);
    const R result = connect(lab::BLACKHOLE, 80, V::DUAL_STACK, 1);
    EXPECT_EQ(result.result, R::ErrorCouldNotConnect);
    EXPECT_TRUE(result.localAddress.isEmpty());
    EXPECT_TRUE(result.destinationAddress.isEmpty());
}

}  // namespace
}  // namespace zeb::ip

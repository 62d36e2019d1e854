#include "netutils/GlobalInit.h"
#include "netutils/NetUtilsFactory.h"
#include "netutils/adapters/HttpEventReporterAdapter.h"
#include "support/FakeGlobalEdgeState.h"
#include "support/Lab.h"
#include "support/NetworkEventRecorder.h"
#include "unit/http/BasicHttpClientTestSupport.h"

#include <deque>
#include <memory>
#include <string>

namespace zeb::http::test {
namespace {

namespace lab = zeb::test::lab;
using netutils::NetUtilsFactory;
using zeb::test::InstalledGlobalEdgeState;
using zeb::test::NetworkEventRecorder;
using Events = NetworkEventRecorder::Events;

/// What the host hears of transfers over TLS. The clients have no verifier, so they refuse every certificate.
class NetworkEventsLabTest : public zeb::test::LabTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (!IsSkipped()) {
            ASSERT_EQ(netutils::GlobalInit(), 0);
        }
    }

    HttpClientResult::Result throughTheEdge(const std::string& edgeUrl,
                                            const std::deque<std::string>& failoverUrls = {}) {
        const auto transformer = std::make_shared<FakeTransformer>();
        transformer->url = edgeUrl;
        transformer->failoverUrls = failoverUrls;
        return makeClient(transformer, reporter_)->execute(makeRequest("http://inside.invalid/"), response_);
    }

    const std::shared_ptr<HttpNetworkEventReporter> reporter_ =
        std::make_shared<netutils::adapters::HttpEventReporterAdapter>(
            NetUtilsFactory().createNetworkEventReporter());
    const std::shared_ptr<NetworkEventRecorder> recorder_ = NetworkEventRecorder::registered();
    const LogCapture log_;
    Response response_;
};

TEST_F(NetworkEventsLabTest, ARefusedCertificateSaysNothingOfTheNetwork) {
    ASSERT_EQ(makeClient(nullptr, reporter_)->execute(makeRequest(lab::secureUrl("/text")), response_),
              HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_TRUE(recorder_->allReported().empty());
}

TEST_F(NetworkEventsLabTest, ARefusedCertificateOfAnEdgeServerYieldsItsEvent) {
    const InstalledGlobalEdgeState edge(false, true);
    ASSERT_EQ(throughTheEdge(lab::secureUrl("/text")), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(recorder_->allReported(), Events{"hintedgeInfrastructureEvent"});
    EXPECT_TRUE(log_.contains("Event Label: zebnetutils.edge.certValidationError server: '" +
                              ZEBLogger_replacePIIData(lab::ORIGIN) + "'"));
    EXPECT_TRUE(log_.contains("EdgeConnectionFailed clusterFailed: 1"));
}

TEST_F(NetworkEventsLabTest, ARefusedCertificateBeforeASucceededFailoverDoesNotBlameTheCluster) {
    const InstalledGlobalEdgeState edge(false, true);
    ASSERT_EQ(throughTheEdge(lab::secureUrl("/text"), {lab::url("/text")}), HttpClientResult::SUCCESS);
    EXPECT_EQ(recorder_->allReported(), (Events{"hintNetworkIsInUse", "hintedgeInfrastructureEvent"}));
    EXPECT_TRUE(log_.contains("Event Label: edge.successful.failover.certValidationError server: '" +
                              ZEBLogger_replacePIIData(lab::ORIGIN) + "'"));
    EXPECT_TRUE(log_.contains("EdgeConnectionFailed clusterFailed: 0"));
}

}  // namespace
}  // namespace zeb::http::test

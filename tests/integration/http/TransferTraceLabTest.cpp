#include "core/ThreadPool.h"
#include "http/BasicHttpClientImpl.h"
#include "http/Request.h"
#include "http/Response.h"
#include "netutils/GlobalInit.h"
#include "support/FakeCertVerifier.h"
#include "support/Lab.h"
#include "support/LogCapture.h"

#include <memory>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

namespace lab = zeb::test::lab;
using zeb::test::FakeCertVerifier;
using zeb::test::LogCapture;

class TransferTraceLabTest : public zeb::test::LabTest {
protected:
    HttpClientResult::Result get(bool accept) {
        const auto client = BasicHttpClientImpl::buildBasicHttpClientImpl(
            nullptr, std::make_shared<FakeCertVerifier>(accept),
            std::make_shared<ThreadPool>(0, 1, "trace", 1), nullptr);
        Response response;
        return client->execute(std::make_shared<Request>(lab::secureUrl("/text")), response);
    }
};

TEST_F(TransferTraceLabTest, ATlsConnectionComesAboutInItsFourPhases) {
    ASSERT_EQ(netutils::GlobalInit(), 0);
    const LogCapture log;
    ASSERT_EQ(get(true), HttpClientResult::SUCCESS);
    for (const char* phase :
         {" pre connect phase: '", " post connect phase: '", " post SSL handshake phase: '"}) {
        EXPECT_EQ(log.count(phase), 1U) << phase;
    }
    EXPECT_EQ(log.count(" SSL handshake phase: '"), 2U) << "the one before and, by its name, the one after";
    EXPECT_FALSE(log.contains(lab::ORIGIN)) << "a host's name";
}

TEST_F(TransferTraceLabTest, ARefusedCertificateEndsTheTransferWithinTheHandshake) {
    ASSERT_EQ(netutils::GlobalInit(), 0);
    const LogCapture log;
    ASSERT_EQ(get(false), HttpClientResult::CERTIFICATE_VALIDATION_ERROR);
    EXPECT_EQ(log.count(" SSL handshake phase: '"), 1U);
    EXPECT_EQ(log.count(" post SSL handshake phase: '"), 0U);
}

}  // namespace
}  // namespace zeb::http::test

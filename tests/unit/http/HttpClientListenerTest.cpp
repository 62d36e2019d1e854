#include "http/FailedUrlInfo.h"
#include "http/HttpClientListener.h"
#include "http/HttpRequestResult.h"

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::AllOf;
using ::testing::Field;
using ::testing::InSequence;
using ::testing::Ref;

class MockListener : public HttpClientListener {
public:
    MOCK_METHOD(void, onRequestFailed, (unsigned int, HttpClientResult::Result), (override));
    MOCK_METHOD(void, onRequestCompleted, (unsigned int, const Response&), (override));
    MOCK_METHOD(void, onRequestProgress, (unsigned int, ProgressData), (override));
};

TEST(HttpClientListenerTest, HearsOfFailureCompletionAndProgressWithTheRequestsId) {
    MockListener listener;
    HttpClientListener& asTheClientSeesIt = listener;
    const Response response;
    ProgressData progress;
    progress.total = 10;
    progress.transferred = 4;
    const InSequence order;
    EXPECT_CALL(listener, onRequestFailed(1, HttpClientResult::REQUEST_LOST));
    EXPECT_CALL(listener, onRequestCompleted(2, Ref(response)));
    EXPECT_CALL(listener, onRequestProgress(3, AllOf(Field(&ProgressData::total, 10.0),
                                                     Field(&ProgressData::transferred, 4.0))));
    asTheClientSeesIt.onRequestFailed(1, HttpClientResult::REQUEST_LOST);
    asTheClientSeesIt.onRequestCompleted(2, response);
    asTheClientSeesIt.onRequestProgress(3, progress);
}

TEST(ProgressDataTest, IsZeroAtFirst) {
    const ProgressData progress;
    EXPECT_EQ(0.0, progress.total);
    EXPECT_EQ(0.0, progress.transferred);
}

TEST(HttpRequestResultTest, IsAnUnfinishedSuccessAtFirst) {
    const HttpRequestResult result;
    EXPECT_EQ(HttpClientResult::SUCCESS, result.result);
    EXPECT_FALSE(result.finished);
}

TEST(FailedUrlInfoTest, HoldsTheUrlAndWhatFailedIt) {
    const FailedUrlInfo info{"https://host/", HttpClientResult::UNRESOLVED_HOST_ERROR};
    EXPECT_EQ("https://host/", info.url);
    EXPECT_EQ(HttpClientResult::UNRESOLVED_HOST_ERROR, info.result);
}

}  // namespace
}  // namespace zeb::http::test

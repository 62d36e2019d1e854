#include "http/CurlAnswerEvaluator.h"
#include "http/HttpRequestData.h"
#include "http/Request.h"
#include "support/LogCapture.h"

#include <map>
#include <set>
#include <string>

#include <curl/curl.h>
#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::LogCapture;

/// By number: the table is the interface, whatever a version of libcurl calls its codes.
HttpClientResult::Result expectedResult(int code) {
    static const std::map<int, HttpClientResult::Result> TABLE = {
        {0, HttpClientResult::SUCCESS},
        {3, HttpClientResult::URL_FORMAT_ERROR},
        {5, HttpClientResult::UNRESOLVED_PROXY_ERROR},
        {6, HttpClientResult::UNRESOLVED_HOST_ERROR},
        {7, HttpClientResult::HOST_UNREACHABLE_ERROR},
        {23, HttpClientResult::FILE_WRITE_ERROR},
        {26, HttpClientResult::READ_CALLBACK_ERROR},
        {28, HttpClientResult::CONNECTION_TIMEOUT_ERROR},
        {35, HttpClientResult::SSL_CONNECTION_ERROR},
        {37, HttpClientResult::FILE_READ_ERROR},
        {42, HttpClientResult::REQUEST_CANCELLED},
        {47, HttpClientResult::TOO_MANY_REDIRECTS_ERROR},
        {53, HttpClientResult::SSL_CONNECTION_ERROR},
        {54, HttpClientResult::SSL_CONNECTION_ERROR},
        {58, HttpClientResult::CLIENT_CERTIFICATE_ERROR},
        {59, HttpClientResult::SSL_CONNECTION_ERROR},
        {60, HttpClientResult::CERTIFICATE_VALIDATION_ERROR},
        {64, HttpClientResult::SSL_CONNECTION_ERROR},
        {66, HttpClientResult::SSL_CONNECTION_ERROR},
        {80, HttpClientResult::SSL_CONNECTION_ERROR},
    };
    const auto row = TABLE.find(code);
    return row == TABLE.end() ? HttpClientResult::UNKNOWN_ERROR : row->second;
}

class CurlAnswerEvaluatorTest : public testing::TestWithParam<int> {
protected:
    CurlAnswerEvaluator evaluator_;
};

TEST_P(CurlAnswerEvaluatorTest, TheCodeHasTheResultOfTheTable) {
    EXPECT_EQ(evaluator_.curlCodeToResult(GetParam(), nullptr), expectedResult(GetParam()));
}

TEST_P(CurlAnswerEvaluatorTest, TheCodeSendsARequestToItsNextUrlAsTheTableSays) {
    static const std::set<int> SERVER_FAILURES = {5, 6, 7, 23, 26, 28, 35, 60, 70};
    EXPECT_EQ(evaluator_.representServerFailure(GetParam()), SERVER_FAILURES.count(GetParam()) == 1);
}

INSTANTIATE_TEST_SUITE_P(AllCodes, CurlAnswerEvaluatorTest, testing::Range(-1, CURL_LAST + 2));

TEST(CurlAnswerEvaluatorTextTest, AnOutcomeIsLoggedWithRequestCodeResultAndFipsMode) {
    HttpRequestData data(std::make_shared<Request>("http://host/"), nullptr);
    LogCapture log;
    CurlAnswerEvaluator().curlCodeToResult(28, &data);
    EXPECT_TRUE(log.contains(ZEBLOG_INFO, "Request " + data.formattedRequestID() +
                                              " got curlCode=[28] HttpClientResult=[CONNECTION_TIMEOUT_ERROR]"
                                              " fips enabled=[false]"));
}

TEST(CurlAnswerEvaluatorTextTest, NothingGivesTheResultThatNamesTheProxyTwice) {
    CurlAnswerEvaluator evaluator;
    for (int code = 0; code <= CURL_LAST; ++code) {
        EXPECT_NE(evaluator.curlCodeToResult(code, nullptr), HttpClientResult::COULDNT_RESOLVE_PROXY_ERROR);
    }
}

}  // namespace
}  // namespace zeb::http::test

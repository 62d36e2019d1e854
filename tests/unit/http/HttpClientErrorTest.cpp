#include "http/HttpClientError.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::printed;

TEST(HttpClientErrorTest, EveryValuePrintsItsName) {
    const std::pair<HttpClientError::Error, const char*> rows[] = {
        {HttpClientError::SUCCESS, "SUCCESS"},
        {HttpClientError::URL_NOT_SET_ERROR, "URL_NOT_SET_ERROR"},
        {HttpClientError::INVALID_PARAMETER_ERROR, "INVALID_PARAMETER_ERROR"},
        {HttpClientError::REQUEST_NOT_SET_ERROR, "REQUEST_NOT_SET_ERROR"},
        {HttpClientError::UNABLE_TO_CANCEL_REQUEST_ERROR, "UNABLE_TO_CANCEL_REQUEST_ERROR"},
        {HttpClientError::UNABLE_TO_PROCESS_REQUEST_ERROR, "UNABLE_TO_PROCESS_REQUEST_ERROR"},
        {HttpClientError::POLICY_NOT_ENFORCED_ERROR, "POLICY_NOT_ENFORCED_ERROR"},
        {HttpClientError::POLICY_NOT_AVAILABLE_ERROR, "POLICY_NOT_AVAILABLE_ERROR"},
        {HttpClientError::FILE_READ_ERROR, "FILE_READ_ERROR"},
        {HttpClientError::UNRESOLVED_HOST_ERROR, "UNRESOLVED_HOST_ERROR"},
        {HttpClientError::UNKNOWN_ERROR, "UNKNOWN_ERROR"},
    };
    int number = 0;
    for (const auto& [value, name] : rows) {
        EXPECT_EQ(number, value) << name;
        EXPECT_EQ(name, printed(value));
        ++number;
    }
}

TEST(HttpClientErrorTest, AnUnknownValuePrintsAsItsNumber) {
    EXPECT_EQ("11", printed(static_cast<HttpClientError::Error>(11)));
}

}  // namespace
}  // namespace zeb::http::test

#include "http/HttpClientResult.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::printed;

TEST(HttpClientResultTest, EveryValuePrintsItsNameButTheTwoThatHaveNone) {
    const std::pair<HttpClientResult::Result, const char*> rows[] = {
        {HttpClientResult::SUCCESS, "SUCCESS"},
        {HttpClientResult::URL_NOT_SET_ERROR, "URL_NOT_SET_ERROR"},
        {HttpClientResult::HTTP_CONFIGURATION_ERROR, "HTTP_CONFIGURATION_ERROR"},
        {HttpClientResult::UNRESOLVED_HOST_ERROR, "UNRESOLVED_HOST_ERROR"},
        {HttpClientResult::HOST_UNREACHABLE_ERROR, "HOST_UNREACHABLE_ERROR"},
        {HttpClientResult::CONNECTION_TIMEOUT_ERROR, "CONNECTION_TIMEOUT_ERROR"},
        {HttpClientResult::CERTIFICATE_VALIDATION_ERROR, "CERTIFICATE_VALIDATION_ERROR"},
        {HttpClientResult::CLIENT_CERTIFICATE_ERROR, "CLIENT_CERTIFICATE_ERROR"},
        {HttpClientResult::REQUEST_CANCELLED, "REQUEST_CANCELLED"},
        {HttpClientResult::UNSUPPORTED_PROTOCOL_ERROR, "UNSUPPORTED_PROTOCOL_ERROR"},
        {HttpClientResult::COULDNT_RESOLVE_PROXY_ERROR, "COULDNT_RESOLVE_PROXY_ERROR"},
        {HttpClientResult::READ_CALLBACK_ERROR, "11"},
        {HttpClientResult::POLICY_NOT_ENFORCED_ERROR, "POLICY_NOT_ENFORCED_ERROR"},
        {HttpClientResult::POLICY_NOT_AVAILABLE_ERROR, "POLICY_NOT_AVAILABLE_ERROR"},
        {HttpClientResult::UNRESOLVED_PROXY_ERROR, "UNRESOLVED_PROXY_ERROR"},
        {HttpClientResult::REQUEST_LOST, "REQUEST_LOST"},
        {HttpClientResult::FILE_READ_ERROR, "FILE_READ_ERROR"},
        {HttpClientResult::EDGE_AUTHENTICATION_FAILED, "EDGE_AUTHENTICATION_FAILED"},
        {HttpClientResult::EDGE_DISABLED_BY_OVT_POLICY, "EDGE_DISABLED_BY_OVT_POLICY"},
        {HttpClientResult::SSL_CONNECTION_ERROR, "SSL_CONNECTION_ERROR"},
        {HttpClientResult::FILE_WRITE_ERROR, "FILE_WRITE_ERROR"},
        {HttpClientResult::URL_FORMAT_ERROR, "URL_FORMAT_ERROR"},
        {HttpClientResult::TOO_MANY_REDIRECTS_ERROR, "22"},
        {HttpClientResult::UNKNOWN_ERROR, "UNKNOWN_ERROR"},
    };
    int number = 0;
    for (const auto& [value, name] : rows) {
        EXPECT_EQ(number, value) << name;
        EXPECT_EQ(name, printed(value));
        ++number;
    }
}

TEST(HttpClientResultTest, AnUnknownValuePrintsAsItsNumber) {
    EXPECT_EQ("24", printed(static_cast<HttpClientResult::Result>(24)));
}

}  // namespace
}  // namespace zeb::http::test

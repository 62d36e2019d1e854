#include "edge/EdgeConfigRequest.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

namespace zeb::edge::test {
namespace {

using zeb::test::printed;

TEST(EdgeConfigRequestTest, EveryResultPrintsItsName) {
    const std::pair<EdgeConfigRequest::Result, const char*> rows[] = {
        {EdgeConfigRequest::SUCCESS, "SUCCESS"},
        {EdgeConfigRequest::ILLEGAL_ARGUMENT, "ILLEGAL_ARGUMENT"},
        {EdgeConfigRequest::FAILED_TO_PARSE_RESPONSE, "FAILED_TO_PARSE_RESPONSE"},
        {EdgeConfigRequest::CERTIFICATE_VALIDATION_ERROR, "CERTIFICATE_VALIDATION_ERROR"},
        {EdgeConfigRequest::CONNECTION_FAILED, "CONNECTION_FAILED"},
        {EdgeConfigRequest::SSL_CONNECTION_ERROR, "SSL_CONNECTION_ERROR"},
        {EdgeConfigRequest::FAILED_TO_RESOLVE_HOST, "FAILED_TO_RESOLVE_HOST"},
        {EdgeConfigRequest::AUTHENTICATION_FAILED, "AUTHENTICATION_FAILED"},
        {EdgeConfigRequest::UNSUCCESSFUL_RESPONSE, "UNSUCCESSFUL_RESPONSE"},
        {EdgeConfigRequest::INTERNAL_ERROR, "INTERNAL_ERROR"},
        {EdgeConfigRequest::FAILED_TO_REFRESH_COOKIE, "FAILED_TO_REFRESH_COOKIE"},
        {EdgeConfigRequest::TOO_MANY_REQUESTS, "TOO_MANY_REQUESTS"},
        {EdgeConfigRequest::UNKNOWN_ERROR, "UNKNOWN_ERROR"},
    };
    int number = 0;
    for (const auto& [value, name] : rows) {
        EXPECT_EQ(number, value) << name;
        EXPECT_EQ(name, printed(value));
        ++number;
    }
}

TEST(EdgeConfigRequestTest, AnUnknownResultPrintsAsItsNumber) {
    EXPECT_EQ("13", printed(static_cast<EdgeConfigRequest::Result>(13)));
}

}  // namespace
}  // namespace zeb::edge::test

#include "http/EdgeTransformer.h"
#include "support/Printed.h"

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::printed;

using TransformResult = EdgeTransformer::TransformRequestResult;

TEST(EdgeTransformerTest, EveryResultPrintsItsNameButTheThreeThatHaveNone) {
    const std::pair<TransformResult::Result, const char*> rows[] = {
        {TransformResult::SUCCESS, "SUCCESS"},
        {TransformResult::INVALID_PARAMETERS, "INVALID_PARAMETERS"},
        {TransformResult::MALFORMED_REQUEST, "MALFORMED_REQUEST"},
        {TransformResult::EDGE_ENVIRONMENT_UNAVAILABLE, "EDGE_ENVIRONMENT_UNAVAILABLE"},
        {TransformResult::EDGE_AUTHENTICATION_FAILED, "EDGE_AUTHENTICATION_FAILED"},
        {TransformResult::EDGE_TOKEN_EXPIRED, "Unexpected value (5)"},
        {TransformResult::EDGE_PROXY_TOKEN_EXPIRED, "Unexpected value (6)"},
        {TransformResult::EDGE_SSL_CONNECTION_ERROR, "EDGE_SSL_CONNECTION_ERROR"},
        {TransformResult::EDGE_DISABLED_BY_OVT_POLICY, "Unexpected value (8)"},
        {TransformResult::UNKNOWN, "UNKNOWN"},
    };
    int number = 0;
    for (const auto& [value, name] : rows) {
        EXPECT_EQ(number, value) << name;
        EXPECT_EQ(name, printed(value));
        ++number;
    }
}

TEST(EdgeTransformerTest, AnUnknownResultPrintsAsUnexpected) {
    EXPECT_EQ("Unexpected value (10)", printed(static_cast<TransformResult::Result>(10)));
}

}  // namespace
}  // namespace zeb::http::test

#include "http/HttpNetworkEventUtils.h"
#include "http/Response.h"

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using Question = bool (*)(const Response&);

struct Case {
    int code;
    Question question;
    bool internalNodeCounts;
};

const Case CASES[] = {
    {403, &HttpNetworkEventUtils::isGlt403Response, true},
    {407, &HttpNetworkEventUtils::isGlt407Response, true},
    {500, &HttpNetworkEventUtils::isGlt500Response, true},
    {503, &HttpNetworkEventUtils::isGlt503Response, true},
    {502, &HttpNetworkEventUtils::isGlte502Response, false},
};

Response answer(int code, const std::string& server) {
    Response response;
    response.responseCode = code;
    response.headers->emplace_back("Server", server);
    return response;
}

TEST(HttpNetworkEventUtilsTest, EachCodeIsRecognisedFromTheOutwardFacingNode) {
    for (const Case& row : CASES) {
        EXPECT_TRUE(row.question(answer(row.code, "QX_B"))) << row.code;
    }
}

TEST(HttpNetworkEventUtilsTest, EachCodeButBadGatewayIsRecognisedFromTheInternalNode) {
    for (const Case& row : CASES) {
        EXPECT_EQ(row.internalNodeCounts, row.question(answer(row.code, "QX_A"))) << row.code;
    }
}

TEST(HttpNetworkEventUtilsTest, EachQuestionIsForItsOwnCodeOnly) {
    for (const Case& row : CASES) {
        for (const int code : {0, 200, 401, 403, 407, 500, 502, 503, 504}) {
            EXPECT_EQ(code == row.code, row.question(answer(code, "QX_B"))) << row.code << ", " << code;
        }
    }
}

TEST(HttpNetworkEventUtilsTest, TheServersNameCountsInAnyCase) {
    for (const char* name : {"QX_A", "qx_a", "Qx_a"}) {
        EXPECT_TRUE(HttpNetworkEventUtils::isResponseFromGlt(answer(200, name))) << name;
        EXPECT_FALSE(HttpNetworkEventUtils::isResponseFromGltE(answer(200, name))) << name;
        EXPECT_TRUE(HttpNetworkEventUtils::isGlt403Response(answer(403, name))) << name;
    }
    for (const char* name : {"QX_B", "qx_b", "qX_B"}) {
        EXPECT_TRUE(HttpNetworkEventUtils::isResponseFromGlt(answer(200, name))) << name;
        EXPECT_TRUE(HttpNetworkEventUtils::isResponseFromGltE(answer(200, name))) << name;
    }
}

TEST(HttpNetworkEventUtilsTest, AnyOtherServerIsNotTheEdge) {
    for (const char* name : {"", "nginx", "QX_C", "QX_A ", " QX_A", "QX_AB", "QX", "QX-A"}) {
        EXPECT_FALSE(HttpNetworkEventUtils::isResponseFromGlt(answer(403, name))) << name;
        EXPECT_FALSE(HttpNetworkEventUtils::isResponseFromGltE(answer(403, name))) << name;
        for (const Case& row : CASES) {
            EXPECT_FALSE(row.question(answer(row.code, name))) << row.code << ", " << name;
        }
    }
    EXPECT_FALSE(HttpNetworkEventUtils::isResponseFromGlt(Response()));
}

TEST(HttpNetworkEventUtilsTest, TheHeadersNameCountsInAnyCase) {
    Response response;
    response.headers->emplace_back("sErVeR", "QX_A");
    EXPECT_TRUE(HttpNetworkEventUtils::isResponseFromGlt(response));
}

}  // namespace
}  // namespace zeb::http::test

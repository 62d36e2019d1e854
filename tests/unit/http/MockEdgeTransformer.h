#pragma once

#include "http/EdgeTransformer.h"
#include "http/HttpRequestData.h"

#include <memory>
#include <string>

#include <gmock/gmock.h>

namespace zeb::http::test {

class MockEdgeTransformer : public EdgeTransformer {
public:
    using Result = TransformRequestResult::Result;

    MOCK_METHOD(Result, transformRequest, (std::shared_ptr<HttpRequestData>), (override));
    MOCK_METHOD(Result, transformRequestUsingRequestOAuthToken, (std::shared_ptr<HttpRequestData>),
                (override));
    MOCK_METHOD(Result, transformRequestUsingXEdgeAuth, (std::shared_ptr<HttpRequestData>), (override));
    MOCK_METHOD(Result, transformRequestUsingEdgeTokenAndLumenCookie, (std::shared_ptr<HttpRequestData>),
                (override));
    MOCK_METHOD(Result, removeTransformedCookies, (Response&, const std::string&), (override));
    MOCK_METHOD(bool, isRequestTransformed, (const RequestWrapper&), (const, override));
};

}  // namespace zeb::http::test

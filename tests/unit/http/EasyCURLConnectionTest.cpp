#include "http/EasyCURLConnection.h"
#include "support/LoopbackServer.h"
#include "unit/http/CurlSeam.h"

#include <algorithm>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::NotNull;

TEST(EasyCURLConnectionTest, HasAHandleAndAnErrorBufferOf256Zeros) {
    EasyCURLConnection connection;
    ASSERT_THAT(connection.getHandle(), NotNull());
    const char* const buffer = connection.getErrorBuffer();
    EXPECT_TRUE(std::all_of(buffer, buffer + 256, [](char byte) { return byte == '\0'; }));
}

TEST(EasyCURLConnectionTest, LibcurlWritesItsErrorsIntoTheBuffer) {
    const zeb::test::RefusedPort refused;
    EasyCURLConnection connection;
    curl_easy_setopt(connection.getHandle(), CURLOPT_URL, refused.url("/").c_str());
    EXPECT_EQ(CURLE_COULDNT_CONNECT, curl_easy_perform(connection.getHandle()));
    EXPECT_THAT(connection.getErrorBuffer(), testing::HasSubstr("127.0.0.1"));
}

TEST(EasyCURLConnectionTest, EachHasAHandleOfItsOwn) {
    const EasyCURLConnection one;
    const EasyCURLConnection other;
    EXPECT_NE(one.getHandle(), other.getHandle());
}

TEST(EasyCURLConnectionTest, WithoutAHandleFromLibcurlItIsNull) {
    const NoCurlHandles none;
    EXPECT_EQ(nullptr, EasyCURLConnection().getHandle());
}

}  // namespace
}  // namespace zeb::http::test

#include "core/ScopedLock.h"
#include "http/MultiCurlConnection.h"
#include "unit/http/CurlSeam.h"

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::Pair;

TEST(MultiCurlConnectionTest, StartsWithPipeliningOn) {
    const MultiOptions options;
    const MultiCurlConnection connection;
    EXPECT_THAT(connection.getHandle(), NotNull());
    EXPECT_THAT(options.numbers(), ElementsAre(Pair(static_cast<int>(CURLMOPT_PIPELINING), 1L)));
}

TEST(MultiCurlConnectionTest, ItsHandleWorksUnderItsMutex) {
    MultiCurlConnection connection;
    const ScopedLock lock(connection.getMutex());
    int running = -1;
    EXPECT_EQ(CURLM_OK, curl_multi_perform(connection.getHandle(), &running));
    EXPECT_EQ(0, running);
}

TEST(MultiCurlConnectionTest, WithoutAHandleFromLibcurlItIsNullAndSetsNoOption) {
    const NoCurlHandles none;
    const MultiOptions options;
    EXPECT_EQ(nullptr, MultiCurlConnection().getHandle());
    EXPECT_THAT(options.numbers(), IsEmpty());
}

}  // namespace
}  // namespace zeb::http::test

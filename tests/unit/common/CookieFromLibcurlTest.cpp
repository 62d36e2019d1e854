#include "common/Cookie.h"
#include "support/LoopbackServer.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include <curl/curl.h>
#include <gmock/gmock.h>

namespace zeb::common::test {
namespace {

using zeb::test::LoopbackServer;

/// What libcurl's own cookie engine makes of a Set-Cookie header, read back the way a transfer's cookies are.
/// Mostly without a transfer: the engine takes headers by themselves.
class CookieFromLibcurlTest : public ::testing::Test {
protected:
    struct HandleDeleter {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct ListDeleter {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    CookieFromLibcurlTest() { curl_easy_setopt(handle_.get(), CURLOPT_COOKIEFILE, ""); }

    std::string lineOf(const std::string& header) {
        curl_easy_setopt(handle_.get(), CURLOPT_COOKIELIST, "ALL");
        curl_easy_setopt(handle_.get(), CURLOPT_COOKIELIST, ("Set-Cookie: " + header).c_str());
        return firstLine();
    }

    std::string firstLine() {
        curl_slist* list = nullptr;
        curl_easy_getinfo(handle_.get(), CURLINFO_COOKIELIST, &list);
        const std::unique_ptr<curl_slist, ListDeleter> owner(list);
        return list == nullptr ? "" : list->data;
    }

    const std::unique_ptr<CURL, HandleDeleter> handle_{curl_easy_init()};
};

struct Expected {
    std::string domain = "example.test";
    bool tailMatch = false;
    std::string path = "/";
    bool secure = false;
    std::int64_t expiration = 0;
    std::string name = "n";
    std::string value = "v";
};

void expectCookie(const std::string& line, const Expected& expected) {
    SCOPED_TRACE(line);
    const Cookie cookie(line);
    ASSERT_FALSE(cookie.isEmpty());
    EXPECT_EQ(line, cookie.getRawFormat());
    EXPECT_EQ(expected.domain, cookie.getDomain());
    EXPECT_EQ(expected.tailMatch, cookie.isTailMatchAllowed());
    EXPECT_EQ(expected.path, cookie.getPath());
    EXPECT_EQ(expected.secure, cookie.isSecureConnectionRequired());
    EXPECT_EQ(expected.expiration, cookie.getExpirationDate());
    EXPECT_EQ(expected.name, cookie.getName());
    EXPECT_EQ(expected.value, cookie.getValue());
}

TEST_F(CookieFromLibcurlTest, ASessionCookieOfADomainMatchesItsTailAndHasNoExpiration) {
    Expected expected;
    expected.domain = ".example.test";
    expected.tailMatch = true;
    expectCookie(lineOf("n=v; domain=example.test; path=/"), expected);
}

TEST_F(CookieFromLibcurlTest, ACookieWithoutADomainBelongsToTheHostThatSetItAlone) {
    const LoopbackServer server([](const LoopbackServer::Request&) {
        return LoopbackServer::Reply::response(200, "", {{"Set-Cookie", "n=v; path=/"}});
    });
    const std::string url = server.url("/");
    curl_easy_setopt(handle_.get(), CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle_.get(), CURLOPT_PROXY, "");
    ASSERT_EQ(CURLE_OK, curl_easy_perform(handle_.get()));
    Expected expected;
    expected.domain = "127.0.0.1";
    expectCookie(firstLine(), expected);
}

TEST_F(CookieFromLibcurlTest, AnHttpOnlyCookieHasItsDomainWithoutTheMark) {
    Expected expected;
    expected.domain = ".example.test";
    expected.tailMatch = true;
    const std::string line = lineOf("n=v; domain=.example.test; path=/; HttpOnly");
    EXPECT_EQ(0U, line.find("#HttpOnly_"));
    expectCookie(line, expected);
}

TEST_F(CookieFromLibcurlTest, ASecureCookieWithAPathOfItsOwnSaysSo) {
    Expected expected;
    expected.domain = ".example.test";
    expected.tailMatch = true;
    expected.path = "/a/b";
    expected.secure = true;
    expectCookie(lineOf("n=v; domain=example.test; path=/a/b; secure"), expected);
}

TEST_F(CookieFromLibcurlTest, ADateOfExpirationIsGivenInSeconds) {
    Expected expected;
    expected.domain = ".example.test";
    expected.tailMatch = true;
    expected.expiration = 4102444800;
    expectCookie(lineOf("n=v; domain=example.test; path=/; expires=Fri, 01 Jan 2100 00:00:00 GMT"), expected);
}

TEST_F(CookieFromLibcurlTest, AnAgeIsCountedFromNow) {
    const std::int64_t before = std::time(nullptr);
    const Cookie cookie(lineOf("n=v; domain=example.test; path=/; Max-Age=3600"));
    const std::int64_t after = std::time(nullptr);
    EXPECT_GE(cookie.getExpirationDate(), before + 3600);
    EXPECT_LE(cookie.getExpirationDate(), after + 3600);
}

TEST_F(CookieFromLibcurlTest, AnAgeBeyondEveryNumberStillIsInTheFuture) {
    const Cookie cookie(lineOf("n=v; domain=example.test; path=/; Max-Age=99999999999999999999999"));
    ASSERT_FALSE(cookie.isEmpty());
    EXPECT_GT(cookie.getExpirationDate(), std::time(nullptr));
}

TEST_F(CookieFromLibcurlTest, ACookieThatHasExpiredHasATimeInThePastAndNeverThatOfASession) {
    EXPECT_EQ(1420070400,
              Cookie(lineOf("n=v; domain=example.test; path=/; expires=Thu, 01 Jan 2015 00:00:00 GMT"))
                  .getExpirationDate());
    EXPECT_EQ(1, Cookie(lineOf("n=v; domain=example.test; path=/; Max-Age=0")).getExpirationDate());
}

TEST_F(CookieFromLibcurlTest, ACookieWithoutAValueIsListedAndRefused) {
    const std::string line = lineOf("n=; domain=example.test; path=/");
    ASSERT_FALSE(line.empty());
    EXPECT_TRUE(Cookie(line).isEmpty());
}

TEST_F(CookieFromLibcurlTest, AValueWithEqualsSignsAndQuotesIsKeptWhole) {
    Expected expected;
    expected.domain = ".example.test";
    expected.tailMatch = true;
    expected.name = "X-Auth";
    expected.value = "\"a=b==\"";
    expectCookie(lineOf("X-Auth=\"a=b==\"; domain=example.test; path=/"), expected);
}

TEST_F(CookieFromLibcurlTest, TheRawFormatIsTakenBackByLibcurlUnchanged) {
    const std::string line = lineOf("n=v; domain=example.test; path=/a; secure; HttpOnly; Max-Age=3600");
    curl_easy_setopt(handle_.get(), CURLOPT_COOKIELIST, "ALL");
    curl_easy_setopt(handle_.get(), CURLOPT_COOKIELIST, Cookie(line).getRawFormat().c_str());
    EXPECT_EQ(line, firstLine());
}

}  // namespace
}  // namespace zeb::common::test

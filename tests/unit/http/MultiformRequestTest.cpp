#include "http/HttpRequestOptions.h"
#include "http/MultiformPart.h"
#include "http/MultiformRequest.h"

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::NotNull;
using ::testing::SizeIs;

const std::vector<std::shared_ptr<MultiformPart>>& partsOf(const Request& request) {
    return request.getOptions()->multiformParts;
}

std::vector<std::string> namesOf(const Request& request) {
    std::vector<std::string> names;
    for (const auto& part : partsOf(request)) {
        names.push_back(part->getName());
    }
    return names;
}

TEST(MultiformRequestTest, APartFromAFileHoldsItsPathAlone) {
    MultiformRequest request("https://host/");
    const auto headers = std::make_shared<HttpHeaders>();
    request.addPartFromFile("name", "/tmp/file", headers);
    ASSERT_THAT(partsOf(request), SizeIs(1));
    const MultiformPart& part = *partsOf(request)[0];
    EXPECT_EQ(0, part.getType());
    EXPECT_EQ("name", part.getName());
    EXPECT_EQ("/tmp/file", part.getFilePath());
    EXPECT_EQ("", part.getValue());
    EXPECT_EQ(nullptr, part.getBuffer());
    EXPECT_EQ(0UL, part.getBufferLength());
    EXPECT_EQ(headers, part.getHeaders());
}

TEST(MultiformRequestTest, APartFromAStringHoldsItsValueAlone) {
    MultiformRequest request("https://host/");
    const auto headers = std::make_shared<HttpHeaders>();
    request.addPartFromString("name", "value", headers);
    ASSERT_THAT(partsOf(request), SizeIs(1));
    const MultiformPart& part = *partsOf(request)[0];
    EXPECT_EQ(1, part.getType());
    EXPECT_EQ("name", part.getName());
    EXPECT_EQ("", part.getFilePath());
    EXPECT_EQ("value", part.getValue());
    EXPECT_EQ(nullptr, part.getBuffer());
    EXPECT_EQ(0UL, part.getBufferLength());
    EXPECT_EQ(headers, part.getHeaders());
}

TEST(MultiformRequestTest, APartFromABufferHoldsItsOwnCopyAndOneNulBehindIt) {
    MultiformRequest request("https://host/");
    const auto headers = std::make_shared<HttpHeaders>();
    std::string bytes("a\0b", 3);
    request.addPartFromBuffer("name", bytes.data(), bytes.size(), headers);
    bytes.assign(3, 'x');
    ASSERT_THAT(partsOf(request), SizeIs(1));
    const MultiformPart& part = *partsOf(request)[0];
    EXPECT_EQ(2, part.getType());
    EXPECT_EQ("name", part.getName());
    EXPECT_EQ("", part.getFilePath());
    EXPECT_EQ("", part.getValue());
    ASSERT_EQ(3UL, part.getBufferLength());
    EXPECT_EQ(std::string("a\0b\0", 4), std::string(part.getBuffer(), 4));
    EXPECT_EQ(headers, part.getHeaders());
}

TEST(MultiformRequestTest, ABufferPartOfLengthZeroHoldsAValidOneByteAllocation) {
    MultiformRequest request("https://host/");
    request.addPartFromBuffer("name", "ignored", 0, nullptr);
    ASSERT_THAT(partsOf(request), SizeIs(1));
    const MultiformPart& part = *partsOf(request)[0];
    EXPECT_EQ(0UL, part.getBufferLength());
    ASSERT_THAT(part.getBuffer(), NotNull());
    EXPECT_EQ('\0', part.getBuffer()[0]);
}

TEST(MultiformRequestTest, ANullBufferCountsAsOneOfLengthZero) {
    MultiformRequest request("https://host/");
    request.addPartFromBuffer("name", nullptr, 5, nullptr);
    ASSERT_THAT(partsOf(request), SizeIs(1));
    const MultiformPart& part = *partsOf(request)[0];
    EXPECT_EQ(0UL, part.getBufferLength());
    ASSERT_THAT(part.getBuffer(), NotNull());
    EXPECT_EQ('\0', part.getBuffer()[0]);
}

TEST(MultiformRequestTest, EachCallAddsOnePartBehindTheOthers) {
    MultiformRequest request("https://host/");
    request.addPartFromString("first", "", nullptr);
    request.addPartFromFile("second", "", nullptr);
    request.addPartFromBuffer("third", "", 0, nullptr);
    request.addPartFromString("first", "", nullptr);
    EXPECT_THAT(namesOf(request), ElementsAre("first", "second", "third", "first"));
}

TEST(MultiformRequestTest, APartKeepsTheCallersHeadersAndNoHeadersStayNull) {
    MultiformRequest request("https://host/");
    const auto headers = std::make_shared<HttpHeaders>();
    request.addPartFromString("with", "", headers);
    request.addPartFromString("without", "", nullptr);
    headers->emplace_back("Name", "later");
    EXPECT_THAT(*partsOf(request)[0]->getHeaders(), ElementsAre(HttpHeader("Name", "later")));
    EXPECT_EQ(nullptr, partsOf(request)[1]->getHeaders());
}

TEST(MultiformRequestTest, SharedOptionsGetTheParts) {
    const auto options = std::make_shared<HttpRequestOptions>("https://host/");
    MultiformRequest request(options);
    request.addPartFromString("name", "value", nullptr);
    EXPECT_THAT(options->multiformParts, SizeIs(1));
}

TEST(MultiformRequestTest, WithoutOptionsNothingIsAdded) {
    MultiformRequest request(std::shared_ptr<HttpRequestOptions>{});
    request.addPartFromString("name", "value", nullptr);
    request.addPartFromFile("name", "path", nullptr);
    request.addPartFromBuffer("name", "b", 1, nullptr);
    EXPECT_EQ(nullptr, request.getOptions());
}

TEST(MultiformRequestTest, HasNoPartsAtFirst) {
    EXPECT_THAT(partsOf(MultiformRequest("https://host/")), IsEmpty());
}

}  // namespace
}  // namespace zeb::http::test

#include "http/HttpRequestOptions.h"
#include "http/Request.h"
#include "http/RequestWrapper.h"
#include "support/LogCapture.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <type_traits>

#include <gmock/gmock.h>

namespace zeb::http::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using zeb::test::LogCapture;

std::shared_ptr<Request> requestTo(const std::string& url) {
    return std::make_shared<Request>(url);
}

bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) != -1;
}

TEST(RequestWrapperTest, OfARequestHasNothingButTheRequestAndItsUrl) {
    const auto request = requestTo("https://host/");
    const RequestWrapper wrapper(request);
    EXPECT_EQ(request, wrapper.request);
    EXPECT_EQ("https://host/", wrapper.url);
    EXPECT_EQ(0.0, wrapper.lastReportedProgress);
    EXPECT_EQ(HTTPFileOperation::NONE, wrapper.fileOperation);
    EXPECT_EQ("", wrapper.filePath);
    EXPECT_EQ(nullptr, wrapper.writeFile);
    EXPECT_EQ(nullptr, wrapper.readFile);
    EXPECT_EQ(nullptr, wrapper.requestHeaders);
    EXPECT_EQ(nullptr, wrapper.formFirst);
    EXPECT_EQ(nullptr, wrapper.formLast);
    EXPECT_THAT(wrapper.partHeaders, IsEmpty());
    EXPECT_EQ("", wrapper.bodyCopy);
    EXPECT_TRUE(wrapper.binaryBodyCopy.empty());
}

TEST(RequestWrapperTest, TakesProgressFileOperationAndPath) {
    const RequestWrapper wrapper(requestTo("https://host/"), 2048.0, HTTPFileOperation::UPLOAD, "/tmp/f");
    EXPECT_EQ("https://host/", wrapper.url);
    EXPECT_EQ(2048.0, wrapper.lastReportedProgress);
    EXPECT_EQ(HTTPFileOperation::UPLOAD, wrapper.fileOperation);
    EXPECT_EQ("/tmp/f", wrapper.filePath);
}

TEST(RequestWrapperTest, FileOperationsHaveTheirNumbers) {
    EXPECT_EQ(0, HTTPFileOperation::DOWNLOAD);
    EXPECT_EQ(1, HTTPFileOperation::UPLOAD);
    EXPECT_EQ(2, HTTPFileOperation::NONE);
}

TEST(RequestWrapperTest, KeepsTheUrlOfItsConstruction) {
    const auto request = requestTo("https://host/");
    const RequestWrapper wrapper(request);
    request->getOptions()->url = "https://edge/";
    EXPECT_EQ("https://host/", wrapper.url);
}

TEST(RequestWrapperTest, WithoutRequestLogsAnErrorAndHasNoUrl) {
    const LogCapture log;
    const RequestWrapper wrapper(nullptr);
    EXPECT_EQ("", wrapper.url);
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "Invalid request with empty request options!"));
}

TEST(RequestWrapperTest, WithoutOptionsLogsAnErrorAndHasNoUrl) {
    const LogCapture log;
    const RequestWrapper wrapper(std::make_shared<Request>(std::shared_ptr<HttpRequestOptions>{}), 0,
                                 HTTPFileOperation::NONE, "");
    EXPECT_EQ("", wrapper.url);
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR, "Invalid request with empty request options!"));
}

TEST(RequestWrapperTest, ClosesBothFilesAtItsEndAndSaysSo) {
    int descriptors[2] = {-1, -1};
    const LogCapture log;
    {
        RequestWrapper wrapper(requestTo("https://host/"), 0, HTTPFileOperation::DOWNLOAD, "/tmp/the file");
        wrapper.writeFile = std::tmpfile();
        wrapper.readFile = std::tmpfile();
        ASSERT_NE(nullptr, wrapper.writeFile);
        ASSERT_NE(nullptr, wrapper.readFile);
        descriptors[0] = fileno(wrapper.writeFile);
        descriptors[1] = fileno(wrapper.readFile);
        EXPECT_TRUE(isOpen(descriptors[0]));
        EXPECT_TRUE(isOpen(descriptors[1]));
    }
    EXPECT_FALSE(isOpen(descriptors[0]));
    EXPECT_FALSE(isOpen(descriptors[1]));
    EXPECT_EQ(2U, log.count("Closing the file /tmp/the file..."));
}

TEST(RequestWrapperTest, HidesTheFilesPathWhenTheRequestSaysSo) {
    const auto request = requestTo("https://host/");
    request->getOptions()->loggingOptions = LoggingOption::NO_FILE_PATH;
    const LogCapture log;
    {
        RequestWrapper wrapper(request, 0, HTTPFileOperation::DOWNLOAD, "/tmp/private");
        wrapper.writeFile = std::tmpfile();
    }
    EXPECT_TRUE(log.contains("Closing the file [...]..."));
    EXPECT_FALSE(log.contains("private"));
}

TEST(RequestWrapperTest, WithoutFilesClosesNothing) {
    const LogCapture log;
    { const RequestWrapper wrapper(requestTo("https://host/")); }
    EXPECT_FALSE(log.contains("Closing the file"));
}

TEST(RequestWrapperTest, WipesTheBodyAtItsEnd) {
    // A body so short that it lies within the object, where it can be looked for afterwards.
    const std::string secret = "s3cr3t-body";
    std::aligned_storage_t<sizeof(RequestWrapper), alignof(RequestWrapper)> storage;
    auto* const wrapper = new (&storage) RequestWrapper(requestTo("https://host/"));
    wrapper->bodyCopy = secret;
    const auto bytes = [&storage] {
        return std::string(reinterpret_cast<const char*>(&storage), sizeof storage);
    };
    ASSERT_THAT(bytes(), HasSubstr(secret));
    wrapper->~RequestWrapper();
    EXPECT_THAT(bytes(), Not(HasSubstr("s3cr3t")));
    EXPECT_THAT(bytes(), Not(HasSubstr("body")));
}

}  // namespace
}  // namespace zeb::http::test

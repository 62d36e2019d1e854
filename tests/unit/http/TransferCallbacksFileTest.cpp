#include "BasicHttpClientTestSupport.h"
#include "support/TestFiles.h"

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::TestFolder;

/// Downloads and uploads of real files, with a server on loopback.
class TransferFileTest : public testing::Test {
protected:
    Outcome download(const std::string& url, const std::string& path) {
        request_ = makeRequest(url, listener_);
        unsigned int id = 0;
        EXPECT_EQ(client_->downloadAsync(request_, id, path), HttpClientError::SUCCESS);
        return next();
    }
    Outcome upload(const std::string& url, const std::string& path, HttpMethod method = HttpMethod::PUT) {
        request_ = makeRequest(url, listener_);
        request_->getOptions()->method = method;
        request_->getOptions()->transferTimeout = transferTimeout_;
        unsigned int id = 0;
        EXPECT_EQ(client_->uploadAsync(request_, id, path), HttpClientError::SUCCESS);
        return next();
    }

    TestFolder folder_;
    std::shared_ptr<BasicHttpClientImpl> client_ = makeClient();
    std::shared_ptr<RecordingListener> listener_ = std::make_shared<RecordingListener>();
    std::shared_ptr<Request> request_;
    long transferTimeout_ = 0;

private:
    Outcome next() {
        const std::vector<Outcome> all = listener_->waitFor(++answers_);
        EXPECT_EQ(all.size(), answers_);
        return all.size() < answers_ ? Outcome{} : all.back();
    }
    std::size_t answers_ = 0;
};

LoopbackServer::Handler answering(int status, const std::string& body) {
    return [status, body](const LoopbackServer::Request&) { return Reply::response(status, body); };
}

// --- downloads

class DownloadSizeTest : public TransferFileTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(DownloadSizeTest, TheFileHoldsWhatWasSentWhenTheListenerHearsOfIt) {
    const std::string content(GetParam(), 'd');
    LoopbackServer server(answering(200, content));
    std::string seen;
    listener_->whenAnswered = [&](const Outcome&) { seen = TestFolder::read(folder_.path("file")); };
    const Outcome outcome = download(server.url("/"), folder_.path("file"));
    EXPECT_TRUE(outcome.completed);
    EXPECT_EQ(outcome.response.body, "");
    EXPECT_TRUE(TestFolder::exists(folder_.path("file")));
    EXPECT_EQ(seen, content) << "complete before the answer";
}

INSTANTIATE_TEST_SUITE_P(Sizes, DownloadSizeTest, testing::Values(0, 1, 4095, 4096, 100000, 3 << 20));

TEST_F(TransferFileTest, ADownloadReplacesWhatTheFileHeld) {
    folder_.write("file", "a longer text than the new one");
    LoopbackServer server(answering(200, "new"));
    EXPECT_TRUE(download(server.url("/"), folder_.path("file")).completed);
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "new");
}

class DownloadStatusTest : public TransferFileTest, public testing::WithParamInterface<int> {};

TEST_P(DownloadStatusTest, AnotherStatusThan200LeavesTheFileEmptyAndThePageInTheBody) {
    folder_.write("file", "old");
    LoopbackServer server(answering(GetParam(), "page"));
    const Outcome outcome = download(server.url("/"), folder_.path("file"));
    EXPECT_TRUE(outcome.completed) << outcome.result;
    EXPECT_EQ(outcome.response.responseCode, GetParam());
    EXPECT_EQ(outcome.response.body, "page");
    EXPECT_TRUE(TestFolder::exists(folder_.path("file")));
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "");
}

INSTANTIATE_TEST_SUITE_P(Codes, DownloadStatusTest,
                         testing::Values(201, 203, 206, 400, 401, 403, 404, 500, 503));

TEST_F(TransferFileTest, ADownloadWithoutContentLeavesTheFileEmpty) {
    folder_.write("file", "old");
    LoopbackServer server(
        [](const LoopbackServer::Request&) { return Reply::bytes("HTTP/1.1 204 No Content\r\n\r\n"); });
    const Outcome outcome = download(server.url("/"), folder_.path("file"));
    EXPECT_TRUE(outcome.completed);
    EXPECT_EQ(outcome.response.responseCode, 204);
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "");
}

TEST_F(TransferFileTest, ARedirectedDownloadHoldsTheTargetAlone) {
    LoopbackServer server([](const LoopbackServer::Request& request) {
        return request.target == "/" ? Reply::response(302, "moved", {{"Location", "/there"}})
                                     : Reply::response(200, "content");
    });
    const Outcome outcome = download(server.url("/"), folder_.path("file"));
    EXPECT_TRUE(outcome.completed);
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "content");
    EXPECT_EQ(outcome.response.body, "");
}

TEST_F(TransferFileTest, ARedirectThatIsNotFollowedGoesToTheBody) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::response(302, "moved", {{"Location", "/there"}});
    });
    const auto request = makeRequest(server.url("/"), listener_);
    request->getOptions()->followRedirects = false;
    unsigned int id = 0;
    client_->downloadAsync(request, id, folder_.path("file"));
    const Outcome outcome = listener_->wait();
    EXPECT_EQ(outcome.response.body, "moved");
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "");
}

TEST_F(TransferFileTest, AFileUrlIsDownloadedWithoutAnyStatus) {
    const std::string source = folder_.write("source", "local content");
    const Outcome outcome = download("file://" + source, folder_.path("file"));
    EXPECT_TRUE(outcome.completed) << outcome.result;
    EXPECT_EQ(outcome.response.responseCode, 0);
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "local content");
    EXPECT_EQ(outcome.response.body, "");
}

TEST_F(TransferFileTest, AFileUrlOfNothingCannotBeRead) {
    EXPECT_EQ(download("file://" + folder_.path("missing"), folder_.path("file")).result,
              HttpClientResult::FILE_READ_ERROR);
}

TEST_F(TransferFileTest, AFolderInPlaceOfTheDownloadsFileIsRefusedBeforeAnythingIsSent) {
    LoopbackServer server(answering(200, "content"));
    EXPECT_EQ(download(server.url("/"), folder_.path("")).result, HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(download(server.url("/"), folder_.path("missing/file")).result,
              HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(server.connections(), 0U);
    expectUsable(*client_);
}

TEST_F(TransferFileTest, AReadOnlyTargetIsRefusedBeforeAnythingIsSent) {
    // A running program can't be written, whatever the user's rights.
    std::error_code error;
    const std::string program = folder_.path("program");
    std::filesystem::copy_file("/bin/sleep", program, error);
    ASSERT_FALSE(error) << error.message();
    char* const arguments[] = {const_cast<char*>("sleep"), const_cast<char*>("60"), nullptr};
    pid_t child = -1;
    ASSERT_EQ(posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, nullptr), 0) << "it runs now";
    LoopbackServer server(answering(200, "content"));
    EXPECT_EQ(download(server.url("/"), program).result, HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(server.connections(), 0U);
    kill(child, SIGKILL);
    EXPECT_GT(std::filesystem::file_size(program), 0U) << "left as it was";
}

class FullDiskTest : public TransferFileTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(FullDiskTest, ADownloadFailsAndItsFileIsRemovedHoweverSmallItIs) {
    LoopbackServer server(answering(200, std::string(GetParam(), 'd')));
    const std::string path = folder_.fullDisk();
    LogCapture log;
    const Outcome outcome = download(server.url("/"), path);
    EXPECT_FALSE(outcome.completed);
    EXPECT_EQ(outcome.result, HttpClientResult::FILE_WRITE_ERROR);
    EXPECT_FALSE(TestFolder::exists(path));
    EXPECT_EQ(log.count("Failed to write data to file '" + path + "'. Removing the file"), 1U);
    expectUsable(*client_);
}

INSTANTIATE_TEST_SUITE_P(Sizes, FullDiskTest, testing::Values(1, 100, 4096, 5000, 1 << 20));

TEST_F(TransferFileTest, AnEmptyDownloadFitsOnAFullDisk) {
    LoopbackServer server(answering(200, ""));
    EXPECT_TRUE(download(server.url("/"), folder_.fullDisk()).completed);
}

TEST_F(TransferFileTest, AnErrorPageNeedsNoRoomOnTheDisk) {
    LoopbackServer server(answering(404, std::string(10000, 'p')));
    const Outcome outcome = download(server.url("/"), folder_.fullDisk());
    EXPECT_TRUE(outcome.completed);
    EXPECT_EQ(outcome.response.body.size(), 10000U);
}

TEST_F(TransferFileTest, AFullDiskSendsTheRequestOnToItsNextUrl) {
    const std::string path = folder_.fullDisk();
    LoopbackServer first(answering(200, "first"));
    LoopbackServer second([&](const LoopbackServer::Request&) { return Reply::response(200, "second"); });
    request_ = makeRequest(first.url("/"), listener_);
    request_->getOptions()->failoverUrls = {second.url("/")};
    unsigned int id = 0;
    client_->downloadAsync(request_, id, path);
    // The link to the full disk has gone with the first failure, so the second finds room.
    EXPECT_TRUE(listener_->wait().completed);
    EXPECT_EQ(TestFolder::read(path), "second");
}

TEST_F(TransferFileTest, ADownloadThatBreaksOffFails) {
    LoopbackServer server([](const LoopbackServer::Request&) {
        return Reply::bytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf").thenClose();
    });
    EXPECT_EQ(download(server.url("/"), folder_.path("file")).result, HttpClientResult::UNKNOWN_ERROR);
}

TEST_F(TransferFileTest, AFolderThatVanishesBetweenTestAndTransferAbortsTheDownload) {
    const std::string inner = folder_.path("inner");
    std::filesystem::create_directory(inner);
    LoopbackServer server([&](const LoopbackServer::Request&) {
        std::filesystem::remove_all(inner);
        return Reply::response(200, "content");
    });
    LogCapture log;
    EXPECT_EQ(download(server.url("/"), inner + "/file").result, HttpClientResult::FILE_WRITE_ERROR);
    EXPECT_TRUE(log.contains("unable to open the file '" + inner + "/file' for writing"));
    expectUsable(*client_);
}

// --- uploads

class UploadSizeTest : public TransferFileTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(UploadSizeTest, TheServerGetsTheFile) {
    const std::string content(GetParam(), 'u');
    LoopbackServer server(answering(200, "thanks"));
    for (const HttpMethod method : {HttpMethod::PUT, HttpMethod::POST}) {
        const Outcome outcome = upload(server.url("/"), folder_.write("file", content), method);
        EXPECT_TRUE(outcome.completed) << outcome.result;
        EXPECT_EQ(outcome.response.body, "thanks");
        const LoopbackServer::Request last = server.requests().back();
        EXPECT_EQ(last.method, method == HttpMethod::PUT ? "PUT" : "POST");
        EXPECT_EQ(last.header("Content-Length"), std::to_string(GetParam()));
        EXPECT_TRUE(last.body == content) << last.body.size();
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, UploadSizeTest, testing::Values(0, 1, 65536, 65537, 3 << 20));

TEST_F(TransferFileTest, AMissingFileIsRefusedBeforeAnythingIsSent) {
    LoopbackServer server(answering(200, ""));
    EXPECT_EQ(upload(server.url("/"), folder_.path("missing")).result,
              HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(TransferFileTest, AFolderCanBeOpenedButNotUploaded) {
    LoopbackServer server(answering(200, ""));
    // Deliberate: a read callback can only abort, and that is the code of a cancelled request.
    EXPECT_EQ(upload(server.url("/"), folder_.path("")).result, HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(server.requests().size(), 0U);
    expectUsable(*client_);
}

TEST_F(TransferFileTest, APathWithANulInItIsNoFileAndNotTheOneBeforeTheNul) {
    LoopbackServer server(answering(200, "content"));
    const std::string other = folder_.write("file", "another file's");
    const std::string path = other + std::string(1, '\0') + ".txt";
    EXPECT_EQ(upload(server.url("/"), path).result, HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(download(server.url("/"), path).result, HttpClientResult::HTTP_CONFIGURATION_ERROR);
    EXPECT_EQ(server.connections(), 0U);
    EXPECT_EQ(TestFolder::read(other), "another file's");
}

/// Removes what is asked for at the moment in which the connection has come about, i.e. between the test-open
/// and the first read.
class AtConnection {
public:
    explicit AtConnection(std::function<void()> action) {
        LogController::getInstance()->setLevel(ZEBLOG_DEBUG);
        LogController::getInstance()->setSink([action](const LogController::Record& record) {
            if (record.message.find(" post connect phase: ") != std::string_view::npos) {
                action();
            }
        });
    }
    ~AtConnection() {
        LogController::getInstance()->setSink({});
        LogController::getInstance()->setLevel(ZEBLOG_WARNING);
    }
    AtConnection(const AtConnection&) = delete;
    AtConnection& operator=(const AtConnection&) = delete;
};

TEST_F(TransferFileTest, AFileThatVanishesBetweenTestAndTransferAbortsTheUpload) {
    const std::string path = folder_.write("file", "content");
    LoopbackServer server(answering(200, ""));
    const AtConnection remove([&] { std::filesystem::remove(path); });
    EXPECT_EQ(upload(server.url("/"), path).result, HttpClientResult::REQUEST_CANCELLED);
    EXPECT_EQ(server.requests().size(), 0U);
}

TEST_F(TransferFileTest, AFileThatShrinksBetweenTestAndTransferRunsIntoATimeout) {
    const std::string path = folder_.write("file", "content");
    LoopbackServer server(answering(200, ""));
    transferTimeout_ = 200;
    const AtConnection shrink([&] { std::filesystem::resize_file(path, 3); });
    EXPECT_EQ(upload(server.url("/"), path).result, HttpClientResult::CONNECTION_TIMEOUT_ERROR);
    EXPECT_EQ(server.requests().size(), 0U) << "the server still waits for the rest";
}

TEST_F(TransferFileTest, AFileThatGrowsIsSentAsFarAsItsSizeWasTold) {
    const std::string path = folder_.write("file", "content");
    LoopbackServer server(answering(200, ""));
    const AtConnection grow([&] { folder_.write("file", "content and more"); });
    EXPECT_TRUE(upload(server.url("/"), path).completed);
    EXPECT_EQ(server.requests().at(0).body, "content");
}

TEST_F(TransferFileTest, AnUploadThatIsRedirectedWithItsBodyCannotGoBackInItsFile) {
    // libcurl is given no way to rewind; the code (65) is none of those with a result of their own.
    LoopbackServer server([](const LoopbackServer::Request& request) {
        return request.target == "/" ? Reply::response(307, "", {{"Location", "/there"}})
                                     : Reply::response(200, "");
    });
    EXPECT_EQ(upload(server.url("/"), folder_.write("file", "content")).result,
              HttpClientResult::UNKNOWN_ERROR);
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(TransferFileTest, AnUploadGoesOnToTheNextUrlFromItsBeginning) {
    LoopbackServer::Options options;
    options.closeAfterReceiving = 5;
    LoopbackServer good(answering(200, "thanks"));
    const RefusedPort refused;
    request_ = makeRequest(refused.url("/"), listener_);
    request_->getOptions()->failoverUrls = {good.url("/")};
    unsigned int id = 0;
    client_->uploadAsync(request_, id, folder_.write("file", "content"));
    EXPECT_EQ(listener_->wait().response.body, "thanks");
    EXPECT_EQ(good.requests().at(0).body, "content");
}

TEST_F(TransferFileTest, ProgressIsToldInStepsAndAtTheEnd) {
    constexpr std::size_t SIZE = 1 << 20;
    LoopbackServer server(answering(200, std::string(SIZE, 'd')));
    std::vector<ProgressData> reports;
    listener_->whenProgress = [&](ProgressData progress) { reports.push_back(progress); };
    EXPECT_TRUE(download(server.url("/"), folder_.path("file")).completed);
    ASSERT_FALSE(reports.empty());
    double last = 0;
    for (const ProgressData& report : reports) {
        EXPECT_TRUE(report.transferred - last >= 102400 || report.transferred == report.total);
        EXPECT_EQ(report.total, SIZE);
        last = report.transferred;
    }
    EXPECT_EQ(last, SIZE);

    reports.clear();
    LoopbackServer sink(answering(200, ""));
    EXPECT_TRUE(upload(sink.url("/"), folder_.write("up", std::string(SIZE, 'u'))).completed);
    ASSERT_FALSE(reports.empty());
    EXPECT_EQ(reports.back().transferred, SIZE);
    EXPECT_EQ(reports.back().total, SIZE);
}

TEST_F(TransferFileTest, AListenerThatThrowsAtItsProgressHearsOfTheEndAllTheSame) {
    LoopbackServer server(answering(200, std::string(1 << 20, 'd')));
    listener_->whenProgress = [](ProgressData) { throw std::runtime_error("of the host"); };
    EXPECT_TRUE(download(server.url("/"), folder_.path("file")).completed);
    EXPECT_EQ(TestFolder::read(folder_.path("file")).size(), 1U << 20);
}

}  // namespace
}  // namespace zeb::http::test

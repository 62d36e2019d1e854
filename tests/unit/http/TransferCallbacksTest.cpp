#include "BasicHttpClientTestSupport.h"
#include "http/CurlHttpUtils.h"
#include "http/EasyCURLConnection.h"
#include "http/HttpClientData.h"
#include "http/SslUtils.h"
#include "support/FakeCertVerifier.h"
#include "support/TestFiles.h"
#include "unit/http/CurlSeam.h"

#include <cstdint>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <curl/curl.h>
#include <gtest/gtest.h>

namespace zeb::http::test {
namespace {

using zeb::test::TestFolder;

/// A request at the point at which libcurl calls back, without libcurl.
class TransferCallbacksTest : public testing::Test {
protected:
    void SetUp() override {
        clientData_->provideEasyCURLConnection(data_);
        log_.clear();
    }

    HttpRequestOptions& options() { return *request_->getOptions(); }
    std::string id() const { return data_.formattedRequestID(); }

    std::shared_ptr<Request> request_ = std::make_shared<Request>("http://host/");
    std::shared_ptr<HttpClientData> clientData_ = HttpClientData::build(nullptr, nullptr);
    HttpRequestData data_{request_, nullptr};
    RequestWrapper& wrapper_ = data_.getWrapper();
    SSLData& sslData_ = data_.getSSLData();
    TestFolder folder_;
    LogCapture log_;
};

// --- writing

class WriteCallbackTest : public TransferCallbacksTest {
protected:
    std::size_t write(std::string bytes) {
        const std::size_t taken = CurlHttpUtils::curlWriteCallback(bytes.data(), 1, bytes.size(), &data_);
        bytesAfter_ = bytes;
        return taken;
    }
    void download(const std::string& path) {
        wrapper_.fileOperation = HTTPFileOperation::DOWNLOAD;
        wrapper_.filePath = path;
    }
    std::string bytesAfter_;
};

TEST_F(WriteCallbackTest, WithoutUserDataTheTransferIsAborted) {
    char bytes[] = "x";
    EXPECT_EQ(CurlHttpUtils::curlWriteCallback(bytes, 1, 1, nullptr), 0U);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Private user object is NULL."));
    EXPECT_EQ(bytes[0], 'x');
}

TEST_F(WriteCallbackTest, ACancelledRequestTakesNothing) {
    request_->cancel();
    EXPECT_EQ(write("late"), 0U);
    EXPECT_TRUE(log_.contains("Request " + id() + " has been canceled, not processing the response."));
    EXPECT_EQ(data_.body, "");
    EXPECT_EQ(data_.getTotalDataReceived(), 0U);
}

TEST_F(WriteCallbackTest, BytesAreAppendedToTheBodyCountedAndWiped) {
    EXPECT_EQ(write("one"), 3U);
    EXPECT_EQ(bytesAfter_, std::string(3, '\0'));
    EXPECT_EQ(write(std::string("t\0o", 3)), 3U);
    EXPECT_EQ(data_.body, std::string("onet\0o", 6));
    EXPECT_EQ(data_.getTotalDataReceived(), 6U);
}

TEST_F(WriteCallbackTest, SizeAndNumberAreMultipliedButOnlyTheNumberIsCounted) {
    char bytes[] = "abcdef";
    EXPECT_EQ(CurlHttpUtils::curlWriteCallback(bytes, 2, 3, &data_), 6U);
    EXPECT_EQ(data_.body, "abcdef");
    EXPECT_EQ(data_.getTotalDataReceived(), 3U);
}

TEST_F(WriteCallbackTest, ARequestWithoutHandleTakesItsBytesAllTheSame) {
    data_.returnEasyCURLConnection();
    EXPECT_EQ(write("x"), 1U);
    EXPECT_TRUE(log_.contains("Failed to get the response code for request " + id() + "."));
    EXPECT_EQ(data_.body, "x");
}

TEST_F(WriteCallbackTest, WhatNoMemoryCanHoldAbortsTheTransferAndThrowsNothing) {
    char bytes[] = "x";
    EXPECT_EQ(CurlHttpUtils::curlWriteCallback(bytes, 1, SIZE_MAX, &data_), 0U);
    EXPECT_EQ(data_.body, "");
}

TEST_F(WriteCallbackTest, AnUploadsAnswerAndADownloadToNowhereGoToTheBody) {
    wrapper_.fileOperation = HTTPFileOperation::UPLOAD;
    wrapper_.filePath = folder_.path("up");
    EXPECT_EQ(write("a"), 1U);
    download("");
    EXPECT_EQ(write("b"), 1U);
    EXPECT_EQ(data_.body, "ab");
    EXPECT_FALSE(TestFolder::exists(folder_.path("up")));
}

TEST_F(WriteCallbackTest, AFileThatCannotBeOpenedAbortsTheTransfer) {
    download(folder_.path("missing/file"));
    EXPECT_EQ(write("x"), 0U);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "For request " + id() + ", unable to open the file '" +
                                                folder_.path("missing/file") +
                                                "' for writing, aborting transfer."));
    EXPECT_EQ(data_.body, "");
}

TEST_F(WriteCallbackTest, AFilesPathIsHiddenWhereTheOptionsSayItIs) {
    options().loggingOptions = LoggingOption::NO_FILE_PATH;
    download(folder_.path("missing/file"));
    write("x");
    EXPECT_TRUE(log_.contains("unable to open the file '[...]' for writing"));
    EXPECT_FALSE(log_.contains("missing"));
}

TEST_F(WriteCallbackTest, WithoutAStatusOf200TheFileIsOpenedAndTheBodyWritten) {
    download(folder_.path("file"));
    EXPECT_EQ(write("page"), 4U);
    EXPECT_TRUE(log_.contains(
        ZEBLOG_WARNING, "The request " + id() +
                            " has chosen to write data to a file but the response code indicated an error, "
                            "appending the data to the response body instead."));
    EXPECT_EQ(data_.body, "page");
    ASSERT_NE(wrapper_.writeFile, nullptr);
    CurlHttpUtils::closeFile(&wrapper_.writeFile);
    EXPECT_TRUE(TestFolder::exists(folder_.path("file")));
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "");
}

TEST_F(WriteCallbackTest, AFileUrlIsWrittenWhateverItsStatus) {
    options().url = "file:///etc/hostname";
    download(folder_.path("file"));
    EXPECT_EQ(write("one"), 3U);
    std::FILE* const file = wrapper_.writeFile;
    EXPECT_EQ(write("two"), 3U);
    EXPECT_EQ(wrapper_.writeFile, file) << "opened once";
    EXPECT_EQ(bytesAfter_, std::string(3, '\0'));
    EXPECT_TRUE(CurlHttpUtils::closeDownloadedFile(wrapper_));
    EXPECT_EQ(wrapper_.writeFile, nullptr);
    EXPECT_EQ(TestFolder::read(folder_.path("file")), "onetwo");
    EXPECT_EQ(data_.body, "");
}

TEST_F(WriteCallbackTest, AFullDiskRemovesTheFileAndAborts) {
    options().url = "file:///x";
    const std::string path = folder_.fullDisk();
    download(path);
    EXPECT_EQ(write(std::string(100000, 'x')), 0U);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Failed to write data to file '" + path +
                                                "'. Removing the file and aborting transfer."));
    EXPECT_EQ(wrapper_.writeFile, nullptr);
    EXPECT_FALSE(TestFolder::exists(path));
    EXPECT_FALSE(log_.contains("Failed to remove"));
}

TEST_F(WriteCallbackTest, AFileThatCannotBeRemovedEitherIsToldOf) {
    options().url = "file:///x";
    const std::string path = folder_.fullDisk();
    download(path);
    wrapper_.writeFile = std::fopen(path.c_str(), "wb");
    unlink(path.c_str());
    EXPECT_EQ(write(std::string(100000, 'x')), 0U);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Failed to remove the file '" + path + "'."));
}

TEST_F(WriteCallbackTest, AFullDiskThatShowsAtTheClosingRemovesTheFile) {
    options().url = "file:///x";
    const std::string path = folder_.fullDisk();
    download(path);
    EXPECT_EQ(write("little"), 6U) << "buffered";
    EXPECT_FALSE(CurlHttpUtils::closeDownloadedFile(wrapper_));
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Failed to write data to file '" + path + "'."));
    EXPECT_EQ(wrapper_.writeFile, nullptr);
    EXPECT_FALSE(TestFolder::exists(path));
    EXPECT_TRUE(CurlHttpUtils::closeDownloadedFile(wrapper_)) << "nothing is open any more";
}

// --- reading

class ReadCallbackTest : public TransferCallbacksTest {
protected:
    void upload(const std::string& path) {
        wrapper_.fileOperation = HTTPFileOperation::UPLOAD;
        wrapper_.filePath = path;
    }
    std::size_t read(std::size_t size, std::size_t nmemb) {
        bytes_.assign(size * nmemb, '.');
        return CurlHttpUtils::curlReadFileData(bytes_.data(), size, nmemb, &wrapper_);
    }
    std::string bytes_;
};

TEST_F(ReadCallbackTest, AFileIsReadPieceByPieceToItsEnd) {
    upload(folder_.write("file", "abcdefg"));
    EXPECT_EQ(read(1, 4), 4U);
    EXPECT_EQ(bytes_, "abcd");
    EXPECT_EQ(read(1, 4), 3U) << "a short read";
    EXPECT_EQ(bytes_, "efg.");
    EXPECT_EQ(read(1, 4), 0U);
}

TEST_F(ReadCallbackTest, WholeItemsAreCounted) {
    upload(folder_.write("file", "abcde"));
    EXPECT_EQ(read(2, 4), 4U);
}

TEST_F(ReadCallbackTest, AnEmptyFileIsAtItsEnd) {
    upload(folder_.write("file", ""));
    EXPECT_EQ(read(1, 4), 0U);
}

TEST_F(ReadCallbackTest, AFileThatIsNotThereAborts) {
    upload(folder_.path("missing"));
    EXPECT_EQ(read(1, 4), 0x10000000U);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Unable to open the file " + folder_.path("missing") +
                                                " for reading, aborting transfer."));
}

TEST_F(ReadCallbackTest, AFolderAbortsAtItsFirstRead) {
    upload(folder_.path(""));
    EXPECT_EQ(read(1, 4), 0x10000000U);
    EXPECT_FALSE(log_.contains("Unable to open"));
}

TEST_F(ReadCallbackTest, ACancelledRequestAborts) {
    upload(folder_.write("file", "abcdefg"));
    request_->cancel();
    EXPECT_EQ(read(1, 4), 0x10000000U);
    EXPECT_EQ(wrapper_.readFile, nullptr);
}

// --- header lines

class HeaderCallbackTest : public TransferCallbacksTest {
protected:
    void SetUp() override {
        TransferCallbacksTest::SetUp();
        options().followRedirects = true;
    }
    std::size_t header(std::string line) {
        return CurlHttpUtils::curlHeaderCallback(line.data(), 1, line.size(), &data_);
    }
    const HttpHeaders& headers() const { return *data_.headers; }
};

TEST_F(HeaderCallbackTest, WithoutUserDataTheLineIsPassedOver) {
    char line[] = "a: b\r\n";
    EXPECT_EQ(CurlHttpUtils::curlHeaderCallback(line, 1, 6, nullptr), 6U);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Private user object is NULL."));
}

TEST_F(HeaderCallbackTest, AnInvalidTextIsPassedOver) {
    char line[] = "a: b\r\n";
    EXPECT_EQ(CurlHttpUtils::curlHeaderCallback(nullptr, 1, 6, &data_), 6U);
    EXPECT_EQ(CurlHttpUtils::curlHeaderCallback(line, 0, 6, &data_), 0U);
    EXPECT_EQ(CurlHttpUtils::curlHeaderCallback(line, 1, 0, &data_), 0U);
    EXPECT_EQ(header(" "), 1U);
    EXPECT_EQ(header("\n"), 1U);
    EXPECT_EQ(log_.count("The string libCURL provided is invalid."), 5U);
    EXPECT_TRUE(headers().empty());
}

TEST_F(HeaderCallbackTest, AnInvalidTextIsPassedOverEvenOfACancelledRequest) {
    request_->cancel();
    EXPECT_EQ(header("\n"), 1U);
    EXPECT_FALSE(log_.contains("canceled"));
}

TEST_F(HeaderCallbackTest, ACancelledRequestTakesNoHeader) {
    request_->cancel();
    EXPECT_EQ(header("a: b\r\n"), 0U);
    EXPECT_TRUE(log_.contains("Request " + id() + " has been canceled, not processing the header."));
    EXPECT_TRUE(headers().empty());
}

TEST_F(HeaderCallbackTest, SizeAndNumberAreMultiplied) {
    char line[] = "ab: c\r\n.";
    EXPECT_EQ(CurlHttpUtils::curlHeaderCallback(line, 7, 1, &data_), 7U);
    EXPECT_EQ(headers(), (HttpHeaders{{"ab", "c"}}));
}

TEST_F(HeaderCallbackTest, ALineIsSplitAtItsFirstColonAndTheCharacterBehindIsDropped) {
    const std::vector<std::pair<std::string, HttpHeader>> expected = {
        {"Name: value\r\n", {"Name", "value"}},
        {"Name: a: b\r\n", {"Name", "a: b"}},
        {"Name:  two blanks\r\n", {"Name", " two blanks"}},
        // Deliberate: exactly one character stands for the blank, whatever it is.
        {"Name:value\r\n", {"Name", "alue"}},
        {"Name:\tvalue\r\n", {"Name", "value"}},
        {": value\r\n", {"", "value"}},
        {" folded: value\r\n", {" folded", "value"}},
        {std::string("N\0me: v\0lue\r\n", 13), {std::string("N\0me", 4), std::string("v\0lue", 5)}},
        {"N\xffme: \x80\r\n", {"N\xffme", "\x80"}},
        {"Name: value \r\n", {"Name", "value "}},
        {"Name: a\rb\r\n", {"Name", "a\rb"}},
        // Deliberate: the last two bytes go, whatever they are.
        {"Name: value\n", {"Name", "valu"}},
    };
    for (const auto& [line, header] : expected) {
        EXPECT_EQ(this->header(line), line.size());
        ASSERT_FALSE(headers().empty());
        EXPECT_EQ(headers().back(), header);
    }
    EXPECT_EQ(headers().size(), expected.size());
    EXPECT_FALSE(log_.contains("Unexpected condition"));
}

TEST_F(HeaderCallbackTest, ALineWithNothingBehindItsColonHasAnEmptyValue) {
    for (const std::string line : {"Name:\r\n", "Name: \r\n", "Name:x\r\n"}) {
        EXPECT_EQ(header(line), line.size());
        EXPECT_EQ(headers().back(), HttpHeader("Name", ""));
    }
    EXPECT_EQ(log_.count("Unexpected condition: cannot parse header : "), 3U);
}

TEST_F(HeaderCallbackTest, ALineWithoutColonThatIsNoStatusLineIsDropped) {
    header("a: b\r\n");
    EXPECT_EQ(header("no colon\r\n"), 10U);
    EXPECT_EQ(header("http/1.1 200 OK\r\n"), 17U) << "the case of HTTP matters";
    EXPECT_EQ(header(std::string(3, '\0')), 3U);
    EXPECT_EQ(headers(), (HttpHeaders{{"a", "b"}}));
}

TEST_F(HeaderCallbackTest, AShortLineThatIsNoEndIsToldOf) {
    EXPECT_EQ(header("x\n"), 2U);
    EXPECT_EQ(header("\n\r"), 2U);
    EXPECT_TRUE(log_.contains("Got header line with unexpected length 2 and content: x\n"));
    EXPECT_EQ(log_.count("Got header line with unexpected length"), 2U);
    EXPECT_TRUE(headers().empty());
}

TEST_F(HeaderCallbackTest, AShortLineWithAColonIsAHeaderAllTheSame) {
    EXPECT_EQ(header("x:"), 2U);
    EXPECT_TRUE(log_.contains("Got header line with unexpected length 2 and content: x:"));
    EXPECT_EQ(headers(), (HttpHeaders{{"x", ""}}));
}

TEST_F(HeaderCallbackTest, AStatusLineBeginsANewResponse) {
    header("HTTP/1.1 302 Found\r\n");
    EXPECT_TRUE(log_.contains("Request " + id() + " got status line: HTTP/1.1 302 Found"));
    EXPECT_FALSE(log_.contains("previous headers"));
    header("a: b\r\n");
    header("c: d\r\n");
    header("HTTP/2 200 \r\n");
    EXPECT_TRUE(log_.contains("For request " + id() +
                              ", removing 2 previous headers because a new response is starting"));
    EXPECT_TRUE(headers().empty());
}

TEST_F(HeaderCallbackTest, AStatusLineWithAColonIsAHeader) {
    header("a: b\r\n");
    header("HTTP/1.1 200 OK\r\n");
    EXPECT_TRUE(headers().empty());
    header("HTTP/1.1 200: OK\r\n");
    EXPECT_EQ(headers(), (HttpHeaders{{"HTTP/1.1 200", "OK"}}));
}

TEST_F(HeaderCallbackTest, AtTheBlocksEndHeadersAreLoggedAndOnlyHarmlessOnesInClear) {
    const std::vector<std::string> inClear = {
        "AGE",
        "CACHE-CONTROL",
        "CONNECTION",
        "CONTENT-LENGTH",
        "CONTENT-TYPE",
        "DATE",
        "EXPIRES",
        "HOST",
        "PRAGMA",
        "PROXY-AUTHENTICATE",
        "RETRY-AFTER",
        "PROXY-CONNECTION",
        "SERVER",
        "TRACKINGID",
        "TRANSFER-ENCODING",
        "USER-AGENT",
        "VARY",
        "VIA",
        "WWW-AUTHENTICATE",
        "X-CF-REQUESTID",
    };
    std::string text = "Request " + id() + " got CR-LF pair.  Accumulated headers:";
    for (const std::string& name : inClear) {
        header(name + ": shown\r\n");
        text += "\n" + name + ": shown";
    }
    header("sErVeR: also shown\r\n");
    text += "\nsErVeR: also shown";
    for (const std::string name : {"Set-Cookie", "Location", "Authorization", "X-Server", "Serve", ""}) {
        header(name + ": SECRET\r\n");
        text += "\n" + name + ": Redacted by client";
    }
    header("Server:\r\n");
    text += "\nServer: Redacted by client";
    header("\r\n");
    EXPECT_TRUE(log_.contains(ZEBLOG_DEBUG, text));
    EXPECT_FALSE(log_.contains("SECRET"));
}

TEST_F(HeaderCallbackTest, ALocationIsKeptInWhateverCase) {
    header("Location: http://a/\r\n");
    header("LOCATION: http://b/\r\n");
    header("location:\r\n");
    header("Content-Location: http://c/\r\n");
    EXPECT_EQ(*data_.redirectUrls, (std::vector<std::string>{"http://a/", "http://b/", ""}));
    EXPECT_EQ(headers().size(), 4U);
}

// --- identities and redirects

struct IdentityCase {
    bool follow;
    IdentityMatchModel::Model model;
    bool provided;
    bool cleared;         ///< the names shown and connected to
    bool referencesKept;  ///< the references
};

/// The tests' names: without it, the bytes of the row, which are others in each build.
void PrintTo(const IdentityCase& row, std::ostream* stream) {
    *stream << (row.follow ? "followed, " : "not followed, ")
            << (row.model == IdentityMatchModel::STRICT_MATCH ? "strict, " : "soft, ")
            << (row.provided ? "identities provided" : "none provided");
}

class RedirectIdentityTest : public HeaderCallbackTest, public testing::WithParamInterface<IdentityCase> {};

TEST_P(RedirectIdentityTest, ARedirectClearsWhatBelongsToTheFormerHost) {
    const IdentityCase& c = GetParam();
    options().followRedirects = c.follow;
    options().useProvidedIdentity = c.provided;
    sslData_.identityMatchModel = c.model;
    sslData_.identifierToDisplay = "shown";
    sslData_.identifierToDisplayDefaulted = true;
    sslData_.serverCurlFQDN = "fqdn";
    sslData_.sniServerName = "sni";
    sslData_.referenceIdentifiers = {"reference"};
    sslData_.referenceIdentifiersDefaulted = true;
    header("Location: http://other/\r\n");
    EXPECT_EQ(sslData_.identifierToDisplay, c.cleared ? "" : "shown");
    EXPECT_EQ(sslData_.identifierToDisplayDefaulted, !c.cleared);
    EXPECT_EQ(sslData_.serverCurlFQDN, c.cleared ? "" : "fqdn");
    EXPECT_EQ(sslData_.sniServerName, "sni");
    EXPECT_EQ(sslData_.referenceIdentifiers.size(), c.referencesKept ? 1U : 0U);
    EXPECT_EQ(sslData_.referenceIdentifiersDefaulted, c.referencesKept);
    EXPECT_EQ(log_.contains("resetting the identifier to display on redirect"), c.cleared);
    EXPECT_EQ(log_.contains("resetting the server Curl FQDN on redirect"), c.cleared);
    EXPECT_EQ(log_.contains("certIdentityValidationModel is set to STRICT and custom identities have been "
                            "provided, the identity information will not be cleared on redirect"),
              c.cleared && c.referencesKept);
    EXPECT_EQ(log_.contains("custom reference identifiers were specified, but the server hostname will be "
                            "used as the request has been redirected"),
              !c.referencesKept);
}

constexpr auto SOFT = IdentityMatchModel::SOFT_MATCH;
constexpr auto STRICT = IdentityMatchModel::STRICT_MATCH;

INSTANTIATE_TEST_SUITE_P(Table, RedirectIdentityTest,
                         testing::Values(IdentityCase{true, SOFT, false, true, false},
                                         IdentityCase{true, SOFT, true, true, false},
                                         IdentityCase{true, STRICT, false, true, false},
                                         IdentityCase{true, STRICT, true, true, true},
                                         IdentityCase{false, SOFT, false, false, true},
                                         IdentityCase{false, SOFT, true, false, true},
                                         IdentityCase{false, STRICT, false, false, true},
                                         IdentityCase{false, STRICT, true, false, true}));

TEST_F(HeaderCallbackTest, ARedirectWithNoIdentityResetsNothing) {
    header("Location: http://other/\r\n");
    EXPECT_FALSE(log_.contains("resetting"));
    EXPECT_FALSE(log_.contains("custom reference identifiers"));
}

// --- progress

class ProgressTest : public TransferCallbacksTest {
protected:
    void SetUp() override {
        TransferCallbacksTest::SetUp();
        listener_->whenProgress = [this](ProgressData progress) {
            reports_.emplace_back(progress.total, progress.transferred);
        };
        request_->setListener(listener_);
    }
    int progress(double dlTotal, double dlNow, double ulTotal = 0, double ulNow = 0) {
        return CurlHttpUtils::curlProgressFunction(&data_, dlTotal, dlNow, ulTotal, ulNow);
    }
    using Reports = std::vector<std::pair<double, double>>;

    std::shared_ptr<RecordingListener> listener_ = std::make_shared<RecordingListener>();
    Reports reports_;
};

TEST_F(ProgressTest, WithoutUserDataTheTransferGoesOn) {
    EXPECT_EQ(CurlHttpUtils::curlProgressFunction(nullptr, 1, 1, 1, 1), 0);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Private user object is NULL."));
}

TEST_F(ProgressTest, ACancelledRequestIsAborted) {
    request_->cancel();
    EXPECT_EQ(progress(1, 1), 1);
    EXPECT_TRUE(
        log_.contains("Cancelling request " + id() + " to URL " + ZEBLogger_replacePIIData("http://host/")));
    EXPECT_TRUE(reports_.empty());
}

TEST_F(ProgressTest, LessThan100KiBOfAnUnknownTotalAreNotReported) {
    EXPECT_EQ(progress(0, 0), 0);
    EXPECT_EQ(progress(0, 50000), 0);
    EXPECT_EQ(progress(0, 102399), 0);
    EXPECT_TRUE(reports_.empty());
    EXPECT_EQ(progress(0, 102400), 0);
    EXPECT_EQ(reports_, (Reports{{0, 102400}}));
}

TEST_F(ProgressTest, EachReportIsTheNextOnesBeginning) {
    progress(0, 102500);
    progress(0, 204899);
    EXPECT_EQ(reports_.size(), 1U);
    progress(0, 204900);
    EXPECT_EQ(reports_, (Reports{{0, 102500}, {0, 204900}}));
    EXPECT_EQ(wrapper_.lastReportedProgress, 204900);
}

TEST_F(ProgressTest, TheEndIsReportedHoweverSmallTheStep) {
    progress(10, 9);
    EXPECT_TRUE(reports_.empty());
    progress(10, 10);
    EXPECT_EQ(reports_, (Reports{{10, 10}}));
}

TEST_F(ProgressTest, ATransferThatBeginsAnewIsNotReportedUntilItIsAheadAgain) {
    progress(0, 200000);
    progress(0, 110000);
    EXPECT_EQ(reports_.size(), 1U);
    progress(0, 302400);
    EXPECT_EQ(reports_.size(), 2U);
}

TEST_F(ProgressTest, OnlyTheFileOperationsDirectionCounts) {
    for (const auto operation : {HTTPFileOperation::NONE, HTTPFileOperation::DOWNLOAD}) {
        wrapper_.fileOperation = operation;
        progress(7, 1, 5, 5);
        EXPECT_TRUE(reports_.empty());
        progress(7, 7, 5, 1);
        EXPECT_EQ(reports_, (Reports{{7, 7}}));
        reports_.clear();
    }
    wrapper_.fileOperation = HTTPFileOperation::UPLOAD;
    progress(7, 7, 5, 1);
    EXPECT_TRUE(reports_.empty());
    progress(7, 1, 5, 5);
    EXPECT_EQ(reports_, (Reports{{5, 5}}));
}

TEST_F(ProgressTest, TheListenerIsToldTheRequestsId) {
    class IdListener : public RecordingListener {
    public:
        unsigned int id = 0;
        void onRequestProgress(unsigned int requestId, ProgressData) override { id = requestId; }
    };
    const auto listener = std::make_shared<IdListener>();
    request_->setListener(listener);
    progress(1, 1);
    EXPECT_EQ(listener->id, data_.getRequestId());
}

TEST_F(ProgressTest, WithoutAListenerNobodyIsTold) {
    request_->setListener(nullptr);
    EXPECT_EQ(progress(1, 1), 0);
    EXPECT_EQ(wrapper_.lastReportedProgress, 1);
}

TEST_F(ProgressTest, WhatTheListenerThrowsStaysOutOfTheTransfer) {
    listener_->whenProgress = [](ProgressData) { throw std::runtime_error("of the host"); };
    EXPECT_EQ(progress(1, 1), 0);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "The listener of request " + id() + " has thrown an exception"));
    listener_->whenProgress = [](ProgressData) { throw 1; };
    EXPECT_EQ(progress(1, 1), 0);
}

// --- TLS

TEST_F(TransferCallbacksTest, AVerifierThatThrowsRefusesAndThrowsNothingThroughTheHandshake) {
    class ThrowingVerifier : public zeb::test::FakeCertVerifier {
    public:
        using FakeCertVerifier::FakeCertVerifier;
        using FakeCertVerifier::verifyCertificate;
        bool verifyCertificate(const x509_store_ctx_st*, const Names&) override {
            throw std::runtime_error("of the host");
        }
    };
    sslData_.certVerifier = std::make_shared<ThrowingVerifier>(true);
    EXPECT_EQ(SslUtils::verifyCb(nullptr, &sslData_), 0);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "The certificate verifier has thrown an exception."));
    EXPECT_TRUE(log_.contains("Certificate NOT Verified by application using "));
}

// --- small things

TEST(TransferOutcomeTest, Only200IsASuccess) {
    for (const int code : {0, 100, 199, 201, 204, 206, 302, 404, 500, -200}) {
        EXPECT_FALSE(CurlHttpUtils::isResponseSuccessful(code)) << code;
    }
    EXPECT_TRUE(CurlHttpUtils::isResponseSuccessful(200));
}

TEST(TransferOutcomeTest, AFileUrlIsKnownByItsScheme) {
    EXPECT_TRUE(CurlHttpUtils::isFileProtocol("file:///etc/hostname"));
    EXPECT_TRUE(CurlHttpUtils::isFileProtocol("file://"));
    for (const char* url : {"http://file/", "FILE:///x", "file:/x", "file", "", "/file://"}) {
        EXPECT_FALSE(CurlHttpUtils::isFileProtocol(url)) << url;
    }
}

TEST(TransferOutcomeTest, AClosedFileIsCleared) {
    std::FILE* file = std::tmpfile();
    CurlHttpUtils::closeFile(&file);
    EXPECT_EQ(file, nullptr);
    CurlHttpUtils::closeFile(&file);
    CurlHttpUtils::closeFile(nullptr);
}

TEST(TransferOutcomeTest, AUrlIsLoggedAsTheOptionsSay) {
    const auto request = std::make_shared<Request>("https://host:8443/path/to?query");
    EXPECT_EQ(CurlHttpUtils::loggableUrl(request), "https://host:8443/path/to?query");
    request->getOptions()->loggingOptions = LoggingOption::NO_URL_PATH;
    EXPECT_EQ(CurlHttpUtils::loggableUrl(request), "https://host:8443/[...]");
    request->getOptions()->url = "https://host";
    EXPECT_EQ(CurlHttpUtils::loggableUrl(request), "https://host");
    request->getOptions()->loggingOptions |= LoggingOption::NO_URL;
    EXPECT_EQ(CurlHttpUtils::loggableUrl(request), "");
    EXPECT_EQ(CurlHttpUtils::loggableUrl(nullptr), "");
    EXPECT_EQ(CurlHttpUtils::loggableUrl(std::make_shared<Request>(std::shared_ptr<HttpRequestOptions>())),
              "");
}

TEST(TransferOutcomeTest, ThePathsFirstOccurrenceIsReplacedEvenInTheHost) {
    const auto request = std::make_shared<Request>("http://h/h");
    request->getOptions()->loggingOptions = LoggingOption::NO_URL_PATH;
    EXPECT_EQ(CurlHttpUtils::loggableUrl(request), "http://[...]/h");
}

TEST(TransferOutcomeTest, WithoutAHandleThereIsNoOutcome) {
    const auto data = std::make_shared<HttpRequestData>(std::make_shared<Request>("http://h/"), nullptr);
    LogCapture log;
    EXPECT_FALSE(CurlHttpUtils::storeCookies(data));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR,
                             "Unable to store the cookies. The provided HttpRequestData does not own an "
                             "EasyCURLConnection"));
    EXPECT_FALSE(CurlHttpUtils::getResponseCode(data.get()));
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR,
                             "Unable to get the response code. The provided HttpRequestData does not own an "
                             "EasyCURLConnection"));
    CurlHttpUtils::logOperationTiming(data);
    EXPECT_TRUE(log.contains(ZEBLOG_ERROR,
                             "Unable to log the operation timing. The provided HttpRequestData does not own "
                             "an EasyCURLConnection"));
    EXPECT_FALSE(CurlHttpUtils::getIpAddress(data));
}

class TransferOutcomeHandleTest : public testing::Test {
protected:
    void SetUp() override { clientData_->provideEasyCURLConnection(*data_); }

    std::shared_ptr<HttpClientData> clientData_ = HttpClientData::build(nullptr, nullptr);
    std::shared_ptr<HttpRequestData> data_ =
        std::make_shared<HttpRequestData>(std::make_shared<Request>("http://h/"), nullptr);
    LogCapture log_;
};

TEST_F(TransferOutcomeHandleTest, StoredCookiesTakeThePlaceOfFormerOnes) {
    void* const curl = data_->getCurlConnection()->getHandle();
    curl_easy_setopt(curl, CURLOPT_COOKIELIST, "host\tFALSE\t/\tFALSE\t0\tname\tvalue");
    EXPECT_TRUE(CurlHttpUtils::storeCookies(data_));
    EXPECT_FALSE(log_.contains("previously stored cookies"));
    ASSERT_EQ(data_->cookies.size(), 1U);
    EXPECT_EQ(data_->cookies[0].getName(), "name");
    EXPECT_EQ(data_->cookies[0].getValue(), "value");
    EXPECT_TRUE(CurlHttpUtils::storeCookies(data_));
    EXPECT_EQ(data_->cookies.size(), 1U);
    EXPECT_TRUE(log_.contains("removing 1 previously stored cookies"));
}

TEST_F(TransferOutcomeHandleTest, BeforeATransferThereIsNoCode) {
    EXPECT_TRUE(CurlHttpUtils::getResponseCode(data_.get()));
    EXPECT_EQ(data_->responseCode, 0);
    EXPECT_EQ(data_->connectCode, 0);
    EXPECT_EQ(data_->proxyAuthType, "");
}

TEST_F(TransferOutcomeHandleTest, CookiesThatCannotBeHadLeaveTheFormerOnes) {
    void* const curl = data_->getCurlConnection()->getHandle();
    curl_easy_setopt(curl, CURLOPT_COOKIELIST, "host\tFALSE\t/\tFALSE\t0\tname\tvalue");
    EXPECT_TRUE(CurlHttpUtils::storeCookies(data_));
    const FailingInfo none(CURLINFO_COOKIELIST);
    EXPECT_FALSE(CurlHttpUtils::storeCookies(data_));
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "failed to get list of cookies"));
    EXPECT_EQ(data_->cookies.size(), 1U);
}

TEST_F(TransferOutcomeHandleTest, ACodeThatCannotBeHadLeavesTheFormerOne) {
    data_->responseCode = 201;
    const FailingInfo none(CURLINFO_RESPONSE_CODE);
    EXPECT_FALSE(CurlHttpUtils::getResponseCode(data_.get()));
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Unable to get the response code: 43 for request " +
                                                data_->formattedRequestID() + "."));
    EXPECT_EQ(data_->responseCode, 201);
}

TEST_F(TransferOutcomeHandleTest, AProxysCodeThatCannotBeHadIsPassedOver) {
    data_->connectCode = 200;
    const FailingInfo none(CURLINFO_HTTP_CONNECTCODE);
    EXPECT_TRUE(CurlHttpUtils::getResponseCode(data_.get()));
    EXPECT_EQ(data_->connectCode, 200);
}

TEST_F(TransferOutcomeHandleTest, ARefusalsStrongestKnownSchemeIsTold) {
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"Basic realm=\"p\"", "NTLM", "Negotiate"}, "NEGOTIATE"},
        {{"Negotiate"}, "NEGOTIATE"},
        {{"Basic realm=\"p\"", "NTLM"}, "NTLM"},
        {{"Basic realm=\"p\"", "Digest realm=\"p\", nonce=\"1\""}, "BASIC"},
        {{"Digest realm=\"p\", nonce=\"1\""}, "NONE"},
        {{}, "NONE"},
    };
    for (const auto& [offered, told] : rows) {
        Reply::Headers headers;
        for (const std::string& scheme : offered) {
            headers.emplace_back("Proxy-Authenticate", scheme);
        }
        LoopbackServer proxy(
            [&](const LoopbackServer::Request&) { return Reply::response(407, "", headers); });
        void* const curl = data_->getCurlConnection()->getHandle();
        curl_easy_setopt(curl, CURLOPT_URL, "https://inside.invalid/");
        curl_easy_setopt(curl, CURLOPT_PROXY, proxy.url("").c_str());
        EXPECT_NE(curl_easy_perform(curl), CURLE_OK);
        EXPECT_TRUE(CurlHttpUtils::getResponseCode(data_.get()));
        EXPECT_EQ(data_->connectCode, 407);
        EXPECT_EQ(data_->proxyAuthType, told);
    }
}

TEST_F(TransferOutcomeHandleTest, TheTimingNamesItsSevenElements) {
    CurlHttpUtils::logOperationTiming(data_);
    EXPECT_TRUE(log_.contains(
        ZEBLOG_DEBUG, "Request " + data_->formattedRequestID() +
                          " network IO timestamps: [name lookup = 0 ; connect = 0 ; ssl connect = 0 ; "
                          "pre-transfer = 0 ; start-transfer = 0 ; total = 0 ; redirect = 0]"));
}

TEST_F(TransferOutcomeHandleTest, ATimeThatCannotBeHadIsUnavailable) {
    std::strcpy(data_->getCurlConnection()->getErrorBuffer(), "what libcurl says");
    const FailingInfo none(CURLINFO_CONNECT_TIME);
    CurlHttpUtils::logOperationTiming(data_);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "failed to get connecttime: what libcurl says"));
    EXPECT_TRUE(log_.contains("[name lookup = 0 ; connect = unavailable ; ssl connect = 0 ; "));
}

}  // namespace
}  // namespace zeb::http::test

#include "cert/utils/CertUtils.h"
#include "support/CertificateBuilder.h"
#include "support/LogCapture.h"
#include "unit/cert/utils/OpenSslSeam.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/x509.h>

namespace zeb::cert::test {
namespace {

using zeb::test::CertificateBuilder;
using zeb::test::FailingOpenSslCall;
using zeb::test::IssuedCertificate;
using zeb::test::LogCapture;
using zeb::test::OpenSslCall;

constexpr char RECEIVED_DER[] = "Received a DER format Certificate ";
constexpr char RECEIVED_PEM[] = "Received a PEM format Certificate ";

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.c_str());
}

std::shared_ptr<X509> load(const std::string& data, int length, CertEncoding::Format format) {
    return {CertUtils::loadCertificate(bytesOf(data), length, format), &X509_free};
}

std::shared_ptr<X509> load(const std::string& data, CertEncoding::Format format) {
    return load(data, static_cast<int>(data.size()), format);
}

TEST(CertUtilsTest, BytesAreTwoUpperCaseDigitsEach) {
    const unsigned char bytes[] = {0x00, 0x0A, 0xA0, 0x7F, 0x80, 0xFF};
    EXPECT_EQ(CertUtils::bytesToString(bytes, sizeof(bytes)), "000AA07F80FF");
    EXPECT_EQ(CertUtils::bytesToString(bytes, 0), "");
    EXPECT_EQ(CertUtils::bytesToString(nullptr, 0), "");
    EXPECT_EQ(CertUtils::bytesToString(nullptr, 7), "");
}

TEST(CertUtilsTest, TwoDigitsInEitherCaseAreAByte) {
    char out[4] = {};
    EXPECT_EQ(CertUtils::stringToBytes("00aFFf7e", out, sizeof(out)), 4U);
    EXPECT_EQ(std::string(out, 4), std::string("\x00\xAF\xFF\x7E", 4));
}

TEST(CertUtilsTest, BytesComeBackFromTheirText) {
    std::vector<unsigned char> bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes.push_back(static_cast<unsigned char>(byte));
    }
    std::vector<char> out(bytes.size());
    EXPECT_EQ(CertUtils::stringToBytes(CertUtils::bytesToString(bytes.data(), bytes.size()), out.data(),
                                       out.size()),
              bytes.size());
    EXPECT_EQ(std::vector<unsigned char>(out.begin(), out.end()), bytes);
}

TEST(CertUtilsTest, TheSizeIsNoLimit) {
    char out[4] = {};
    EXPECT_EQ(CertUtils::stringToBytes("01020304", out, 1), 4U);
    EXPECT_EQ(std::string(out, 4), "\x01\x02\x03\x04");
}

TEST(CertUtilsTest, NothingIsWrittenWithASizeOfZeroOrNowhereToWriteTo) {
    char out = 'x';
    EXPECT_EQ(CertUtils::stringToBytes("01", &out, 0), 0U);
    EXPECT_EQ(out, 'x');
    EXPECT_EQ(CertUtils::stringToBytes("01", nullptr, 1), 0U);
}

TEST(CertUtilsTest, ASingleDigitAtTheEndIsNoByte) {
    char out[2] = {'x', 'x'};
    EXPECT_EQ(CertUtils::stringToBytes("01F", out, 2), 1U);
    EXPECT_EQ(out[1], 'x');
    EXPECT_EQ(CertUtils::stringToBytes("F", out, 2), 0U);
    EXPECT_EQ(CertUtils::stringToBytes("", out, 2), 0U);
}

TEST(CertUtilsTest, TheFirstPairThatIsNoByteEndsTheText) {
    for (const std::string& text : {std::string("01g0"), std::string("010g"), std::string("01-1"),
                                    std::string("01 2"), std::string("010x0203"), std::string("01\0\0", 4)}) {
        char out[4] = {'x', 'x', 'x', 'x'};
        EXPECT_EQ(CertUtils::stringToBytes(text, out, 4), 1U) << text;
        EXPECT_EQ(std::string(out, 4), "\x01xxx") << text;
    }
}

class LoadCertificateTest : public testing::Test {
protected:
    const IssuedCertificate certificate_ = CertificateBuilder().commonName("a.test").build();
    LogCapture log_;
};

TEST_F(LoadCertificateTest, DerIsReadByItsLength) {
    const std::string der = certificate_.der();
    const auto loaded = load(der + "more", static_cast<int>(der.size()), CertEncoding::DER);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(X509_cmp(loaded.get(), certificate_.get()), 0);
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, RECEIVED_DER));
    EXPECT_EQ(load(der, static_cast<int>(der.size()) - 1, CertEncoding::DER), nullptr);
    EXPECT_EQ(load(der, 0, CertEncoding::DER), nullptr);
    EXPECT_EQ(load(der, -1, CertEncoding::DER), nullptr);
}

TEST_F(LoadCertificateTest, PemIsReadToItsNul) {
    for (const int length : {-1, 0, 1, 1000000}) {
        const auto loaded = load(certificate_.pem(), length, CertEncoding::PEM);
        ASSERT_NE(loaded, nullptr) << length;
        EXPECT_EQ(X509_cmp(loaded.get(), certificate_.get()), 0);
    }
    EXPECT_TRUE(log_.contains(ZEBLOG_INFO, RECEIVED_PEM));
}

TEST_F(LoadCertificateTest, WhatIsNoCertificateIsNull) {
    const std::string cutOff = certificate_.pem().substr(0, 100);
    for (const std::string& text : {std::string(), std::string("text"), cutOff, certificate_.keyPem()}) {
        EXPECT_EQ(load(text, CertEncoding::DER), nullptr) << text;
        EXPECT_EQ(load(text, CertEncoding::PEM), nullptr) << text;
    }
    EXPECT_EQ(load(certificate_.pem(), CertEncoding::DER), nullptr);
    EXPECT_EQ(load(certificate_.der(), CertEncoding::PEM), nullptr);
}

TEST_F(LoadCertificateTest, NoDataIsNull) {
    EXPECT_EQ(CertUtils::loadCertificate(nullptr, 10, CertEncoding::DER), nullptr);
    EXPECT_EQ(CertUtils::loadCertificate(nullptr, 10, CertEncoding::PEM), nullptr);
}

TEST_F(LoadCertificateTest, WithoutABioPemIsNull) {
    const std::string pem = certificate_.pem();
    const FailingOpenSslCall failing(OpenSslCall::BIO_NEW);
    EXPECT_EQ(load(pem, CertEncoding::PEM), nullptr);
    EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Could not create BIO to convert PEM Certificate into X509 "));
}

TEST_F(LoadCertificateTest, AnUnknownFormatIsNull) {
    for (const int format : {-1, 2, 1000}) {
        log_.clear();
        EXPECT_EQ(load(certificate_.der(), static_cast<CertEncoding::Format>(format)), nullptr);
        EXPECT_TRUE(log_.contains(ZEBLOG_ERROR, "Invalid Certificate Format "));
    }
    EXPECT_EQ(CertEncoding::DER, 0);
    EXPECT_EQ(CertEncoding::PEM, 1);
}

TEST_F(LoadCertificateTest, LeavesNoErrorToTheHandshakeAndKeepsTheOneThatWasThere) {
    ERR_clear_error();
    load("text", CertEncoding::DER);
    load("text", CertEncoding::PEM);
    EXPECT_EQ(ERR_peek_error(), 0U);
    d2i_X509(nullptr, nullptr, 0);
    const unsigned long before = ERR_peek_last_error();
    ASSERT_NE(before, 0U);
    load("text", CertEncoding::PEM);
    EXPECT_EQ(ERR_peek_last_error(), before);
    ERR_clear_error();
}

}  // namespace
}  // namespace zeb::cert::test

#pragma once

#include "cert/common/CertResult.h"
#include "cert/common/CertVerifier.h"
#include "cert/common/CertificateVerificationListener.h"
#include "cert/utils/AltNameParser.h"
#include "cert/utils/AltNameParserFactory.h"
#include "cert/utils/KeyStrengthParser.h"
#include "cert/utils/KeyStrengthParserFactory.h"
#include "cert/utils/KeyUsageParser.h"
#include "cert/utils/KeyUsageParserFactory.h"
#include "common/FipsUtils.h"
#include "support/CertificateBuilder.h"
#include "support/FakePlatform.h"
#include "support/LogCapture.h"
#include "support/StoreContext.h"
#include "zebdiagnostics/ZEBDiagnostics.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace zeb::cert::test {

using zeb::test::CertificateBuilder;
using zeb::test::FakePlatform;
using zeb::test::IssuedCertificate;
using zeb::test::LogCapture;
using zeb::test::StoreContext;
using Statuses = std::set<CertStatus::Status>;
using Names = std::vector<std::string>;

/// A certificate that carries these names, whatever certificate it is.
class FakeAltNameParser : public AltNameParser {
public:
    CertIdentifierStatus::Status parsing = CertIdentifierStatus::SUCCESS;
    std::set<std::string> names;
    mutable Names asked;
    mutable Names askedForXmpp;

    CertIdentifierStatus::Status parse(const x509_st*) override { return parsing; }
    CertIdentifierStatus::Status verify(const std::string& identifier) const override {
        asked.push_back(identifier);
        return answer(identifier);
    }
    CertIdentifierStatus::Status verifyXmpp(const std::string& identifier) const override {
        askedForXmpp.push_back(identifier);
        return answer(identifier);
    }
    Names getDnsNames() override { return {}; }
    Names getSrvNames() override { return {}; }
    Names getXmppAddresses() override { return {}; }
    std::string getCommonName() override { return ""; }

private:
    CertIdentifierStatus::Status answer(const std::string& identifier) const {
        return names.count(identifier) != 0 ? CertIdentifierStatus::SUCCESS
                                            : CertIdentifierStatus::NO_MATCH_FOUND;
    }
};

/// A key with these usages.
class FakeKeyUsageParser : public KeyUsageParser {
public:
    CertKeyUsageResult::Result parsing = CertKeyUsageResult::SUCCESS;
    bool hasBeenParsed = true;
    bool hasBasic = false;
    bool hasExtended = false;
    bool any = false;
    std::set<BasicKeyUsage::Usage> basic;
    std::set<ExtendedKeyUsage::Usage> extended;
    CertKeyUsageResult::Result otherwise = CertKeyUsageResult::NO_MATCHING_EXTENDED_KEY_USAGE_FOUND;

    int parse(const x509_st*) override { return parsing; }
    bool parsed() const override { return hasBeenParsed; }
    CertKeyUsageResult::Result verifyBasicKeyUsage(
        const std::vector<BasicKeyUsage::Usage>& usages) const override {
        return basic.count(usages.at(0)) != 0 ? CertKeyUsageResult::SUCCESS
                                              : CertKeyUsageResult::NO_MATCHING_BASIC_KEY_USAGE_FOUND;
    }
    CertKeyUsageResult::Result verifyExtendedKeyUsage(
        const std::vector<ExtendedKeyUsage::Usage>& usages) const override {
        return extended.count(usages.at(0)) != 0 ? CertKeyUsageResult::SUCCESS : otherwise;
    }
    bool hasBasicKeyUsage() const override { return hasBasic; }
    bool hasExtendedKeyUsage() const override { return hasExtended; }
    bool isAnyExtendedKeyUsageSet() const override { return any; }
};

class FakeKeyStrengthParser : public KeyStrengthParser {
public:
    CertKeyStrengthResult::Result parsing = CertKeyStrengthResult::SUCCESS;
    bool hasBeenParsed = true;
    CertKeyStrengthResult::Result answer = CertKeyStrengthResult::SUCCESS;
    mutable std::vector<int> asked;

    int parse(const x509_st*) override { return parsing; }
    bool parsed() const override { return hasBeenParsed; }
    CertKeyStrengthResult::Result verify(int minimumBits) const override {
        asked.push_back(minimumBits);
        return answer;
    }
};

/// Gives out the one parser it was made with.
class FakeAltNameParserFactory : public AltNameParserFactory {
public:
    explicit FakeAltNameParserFactory(std::shared_ptr<AltNameParser> parser) : parser_(std::move(parser)) {}
    std::shared_ptr<AltNameParser> buildAltNameParser(bool ccMode) override {
        modes.push_back(ccMode);
        return parser_;
    }
    std::vector<bool> modes;

private:
    const std::shared_ptr<AltNameParser> parser_;
};

class FakeKeyUsageParserFactory : public KeyUsageParserFactory {
public:
    explicit FakeKeyUsageParserFactory(std::shared_ptr<KeyUsageParser> parser) : parser_(std::move(parser)) {}
    std::shared_ptr<KeyUsageParser> buildKeyUsageParser() override { return parser_; }

private:
    const std::shared_ptr<KeyUsageParser> parser_;
};

class FakeKeyStrengthParserFactory : public KeyStrengthParserFactory {
public:
    explicit FakeKeyStrengthParserFactory(std::shared_ptr<KeyStrengthParser> parser)
        : parser_(std::move(parser)) {}
    std::shared_ptr<KeyStrengthParser> buildKeyStrengthParser() override { return parser_; }

private:
    const std::shared_ptr<KeyStrengthParser> parser_;
};

/// Keeps what it was told and lets a test wait for it.
class RecordingVerificationListener : public CertificateVerificationListener {
public:
    struct Told {
        unsigned int id = 0;
        CertResult result;
    };

    void onCertificateVerified(unsigned int requestId, CertResult result) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        told_.push_back({requestId, std::move(result)});
        changed_.notify_all();
    }
    /// Fewer than asked for after ten seconds.
    std::vector<Told> waitFor(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, std::chrono::seconds(10), [&] { return told_.size() >= count; });
        return told_;
    }
    std::vector<Told> told() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return told_;
    }

private:
    mutable std::mutex mutex_;  ///< guards told_
    std::condition_variable changed_;
    std::vector<Told> told_;
};

/// FIPS mode while it lives.
class FipsMode {
public:
    FipsMode() {
        common::FipsUtils::setQueryForTests([] { return true; });
    }
    ~FipsMode() { common::FipsUtils::setQueryForTests(nullptr); }
    FipsMode(const FipsMode&) = delete;
    FipsMode& operator=(const FipsMode&) = delete;
};

/// A verifier all of whose parts are told what to find, and a certificate to hand it.
class FakedVerifierTest : public testing::Test {
protected:
    FakedVerifierTest() { ZEBDiagnostics::DiagnosticsWrapper::clear(); }

    /// Over a trust store with that answer; the parsers below.
    std::shared_ptr<CertVerifier> verifierOver(const Statuses& platform) {
        platform_ = std::make_shared<FakePlatform>(platform);
        auto verifier = std::make_shared<CertVerifier>(platform_);
        useFakes(*verifier);
        return verifier;
    }
    void useFakes(BaseCertVerifier& verifier) {
        verifier.setAltNameParserFactory(altNameFactory_);
        verifier.setKeyUsageParserFactory(std::make_shared<FakeKeyUsageParserFactory>(usage_));
        verifier.setKeyStrengthParserFactory(std::make_shared<FakeKeyStrengthParserFactory>(strength_));
    }
    CertResult verify(const Statuses& platform = {CertStatus::VALID}) {
        return verifierOver(platform)->verifyCertificate(leaf_.get(), "server.test");
    }
    static std::vector<ZEBDiagnostics::Record> records() {
        return ZEBDiagnostics::DiagnosticsWrapper::getRecords();
    }

    const IssuedCertificate leaf_ = CertificateBuilder().commonName("server.test").build();
    const std::shared_ptr<FakeAltNameParser> altName_ = [] {
        auto parser = std::make_shared<FakeAltNameParser>();
        parser->names = {"server.test"};
        return parser;
    }();
    const std::shared_ptr<FakeAltNameParserFactory> altNameFactory_ =
        std::make_shared<FakeAltNameParserFactory>(altName_);
    const std::shared_ptr<FakeKeyUsageParser> usage_ = std::make_shared<FakeKeyUsageParser>();
    const std::shared_ptr<FakeKeyStrengthParser> strength_ = std::make_shared<FakeKeyStrengthParser>();
    std::shared_ptr<FakePlatform> platform_;
    LogCapture log_;
};

}  // namespace zeb::cert::test

#pragma once

#include "http/CertVerifier.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace zeb::test {

/// A verifier that gives every certificate the same answer, and keeps what it was asked. Any thread may ask.
class FakeCertVerifier : public http::CertVerifier {
public:
    struct Question {
        bool chain = false;  ///< the chain of a handshake, not a bare certificate
        std::string sniName;
        std::string identifier;
        Names referenceIdentifiers;
        std::string identifierToDisplay;
    };

    /// `whenAsked`, if there is one, runs within each question.
    explicit FakeCertVerifier(bool answer, std::function<void()> whenAsked = {})
        : answer_(answer), whenAsked_(std::move(whenAsked)) {}

    std::vector<Question> questions() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return questions_;
    }

    bool verifyCertificate(const x509_st*, const std::string& identifier) override {
        return ask({false, "", identifier, {}, ""});
    }
    bool verifyCertificate(const x509_st*, const std::string& identifier,
                           const std::string& display) override {
        return ask({false, "", identifier, {}, display});
    }
    bool verifyCertificate(const x509_st*, const Names& references) override {
        return ask({false, "", "", references, ""});
    }
    bool verifyCertificate(const x509_st*, const std::string& identifier, const Names& references) override {
        return ask({false, "", identifier, references, ""});
    }
    bool verifyCertificate(const x509_st*, const Names& references, const std::string& display) override {
        return ask({false, "", "", references, display});
    }
    bool verifyCertificate(const x509_st*, const std::string& identifier, const Names& references,
                           const std::string& display) override {
        return ask({false, "", identifier, references, display});
    }
    bool verifyCertificate(const x509_st*, const std::string& sni, const std::string& identifier,
                           const Names& references) override {
        return ask({false, sni, identifier, references, ""});
    }
    bool verifyCertificate(const x509_st*, const std::string& sni, const std::string& identifier,
                           const Names& references, const std::string& display) override {
        return ask({false, sni, identifier, references, display});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string& identifier) override {
        return ask({true, "", identifier, {}, ""});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string& identifier,
                           const std::string& display) override {
        return ask({true, "", identifier, {}, display});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const Names& references) override {
        return ask({true, "", "", references, ""});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string& identifier,
                           const Names& references) override {
        return ask({true, "", identifier, references, ""});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const Names& references,
                           const std::string& display) override {
        return ask({true, "", "", references, display});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string& identifier, const Names& references,
                           const std::string& display) override {
        return ask({true, "", identifier, references, display});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string& sni, const std::string& identifier,
                           const Names& references) override {
        return ask({true, sni, identifier, references, ""});
    }
    bool verifyCertificate(const x509_store_ctx_st*, const std::string& sni, const std::string& identifier,
                           const Names& references, const std::string& display) override {
        return ask({true, sni, identifier, references, display});
    }

private:
    bool ask(Question question) {
        if (whenAsked_) {
            whenAsked_();
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        questions_.push_back(std::move(question));
        return answer_;
    }

    const bool answer_;
    const std::function<void()> whenAsked_;
    mutable std::mutex mutex_;  ///< guards questions_
    std::vector<Question> questions_;
};

}  // namespace zeb::test

#pragma once

#include "cert/common/InvalidCertListener.h"

#include <istream>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>

namespace zeb::cert {
class CertVerifier;
}

namespace zebget {

/// What is wrong, in a user's words.
const char* inWords(zeb::cert::CertStatus::Status status);

/// The user's part when a server's certificate isn't good: shows who it is, what is wrong and the
/// fingerprint, and asks. It answers within the call, so that only the connection that asked waits; several
/// questions are asked one after the other.
class CertificatePrompt : public zeb::cert::InvalidCertListener {
public:
    /// Without `canAsk` (no terminal) nothing is ever accepted. The streams must outlive the prompt.
    CertificatePrompt(bool canAsk, std::istream& input, std::ostream& output)
        : canAsk_(canAsk), input_(input), output_(output) {}

    void prompUserForAction(const zeb::cert::InvalidCertInfo& info) override;
    void reportRejectedCert(const std::string& fingerprint, const std::string& commonName,
                            const std::string& identifierToDisplay,
                            const std::set<zeb::cert::CertStatus::Status>& statuses,
                            const std::string& leafPem, const std::vector<std::string>& chainPem) override;

private:
    void ask(const std::string& fingerprint);

    const bool canAsk_;
    std::mutex mutex_;  ///< guards both streams
    std::istream& input_;
    std::ostream& output_;
};

/// Who decides about certificates that aren't good; one word of --insecure-policy each.
enum class InsecurePolicy { FAIL, SUCCEED, NOTIFY, PROMPT };

/// A verifier that obeys, with a user to ask where that takes one. The library keeps the prompt as long as
/// the process lives.
std::shared_ptr<zeb::cert::CertVerifier> makeVerifier(InsecurePolicy policy);

}  // namespace zebget

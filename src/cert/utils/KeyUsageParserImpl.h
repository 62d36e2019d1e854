#pragma once

#include "cert/utils/KeyUsageParser.h"

namespace zeb::cert {

class ZEBNETUTILS_EXPORT KeyUsageParserImpl : public KeyUsageParser {
public:
    KeyUsageParserImpl();

    /// What an earlier certificate had is forgotten. A basic key usage that OpenSSL can't read has no bit
    /// set; an extended one that it can't read counts as absent. The platform's verification refuses both.
    int parse(const x509_st* cert) override;
    bool parsed() const override;
    CertKeyUsageResult::Result verifyBasicKeyUsage(
        const std::vector<BasicKeyUsage::Usage>& usages) const override;
    CertKeyUsageResult::Result verifyExtendedKeyUsage(
        const std::vector<ExtendedKeyUsage::Usage>& usages) const override;
    bool hasBasicKeyUsage() const override;
    bool hasExtendedKeyUsage() const override;
    bool isAnyExtendedKeyUsageSet() const override;

private:
    void parseBasicKeyUsage(const x509_st* cert);
    void parseExtendedKeyUsage(const x509_st* cert);

    bool parsed_ = false;
    unsigned long basicKeyUsage_ = 0;     ///< a mask of BasicKeyUsage
    unsigned long extendedKeyUsage_ = 0;  ///< a mask of ExtendedKeyUsage
    bool noExtendedUsage_ = true;
    bool anyExtendedUsage_ = false;
};

}  // namespace zeb::cert

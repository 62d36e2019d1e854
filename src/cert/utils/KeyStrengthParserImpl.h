#pragma once

#include "cert/utils/KeyStrengthParser.h"

namespace zeb::cert {

class ZEBNETUTILS_EXPORT KeyStrengthParserImpl : public KeyStrengthParser {
public:
    KeyStrengthParserImpl();

    /// What an earlier certificate had is forgotten. A key that OpenSSL can't read has no bits.
    int parse(const x509_st* cert) override;
    bool parsed() const override;
    CertKeyStrengthResult::Result verify(int minimumBits) const override;

    /// False only for keys on elliptic curves (EVP_PKEY_EC), whose sizes don't compare with the others'. Keys
    /// for Ed25519 and the like are no such keys to OpenSSL, so they are measured.
    static bool isKeyStrengthCheckRequiredForType(int type);
    /// The name of a type as EVP_PKEY_id() tells it, for logs; "undefined" for those without one.
    static const char* publicKeyTypeToString(int type);

private:
    bool parsed_ = false;
    int keyBits_ = 0;
    int publicKeyType_ = 0;  ///< as EVP_PKEY_id() tells it
};

}  // namespace zeb::cert

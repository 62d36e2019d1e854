#pragma once

#include "core/Encoding.h"

namespace zeb {

/// Base64url, RFC 4648 section 5, with percent-encoded padding: the text may stand in a URL as it is.
class Base64urlEncoding : public Encoding {
public:
    static const Base64urlEncoding& getInstance();

    const char* getEncodingTable() const override;
    const unsigned char* getDecodingTable() const override;
    std::string_view getEncodedPaddingChars() const override;
    std::string_view getDecodedPaddingChars() const override;
    bool isPaddingCharEncoded() const override;

private:
    Base64urlEncoding() = default;
};

}  // namespace zeb

#pragma once

#include "core/Encoding.h"

namespace zeb {

/// Base64, RFC 4648 section 4.
class Base64Encoding : public Encoding {
public:
    static const Base64Encoding& getInstance();

    const char* getEncodingTable() const override;
    const unsigned char* getDecodingTable() const override;
    std::string_view getEncodedPaddingChars() const override;
    std::string_view getDecodedPaddingChars() const override;
    bool isPaddingCharEncoded() const override;

private:
    Base64Encoding() = default;
};

}  // namespace zeb

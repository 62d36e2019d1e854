#pragma once

#include "core/Export.h"

#include <memory>
#include <string>
#include <vector>

namespace zeb {

class SecureStringReader;
struct SecureStringData;

/// A text held encrypted in memory (AES-256-CBC, a fresh random initialisation vector for each value). Its
/// cleartext comes out only through a SecureStringReader, which wipes it at its end.
///
/// Copies share one value: setValue() on one changes them all. A moved-from object is empty, shares with
/// nobody, and may be used again.
///
/// Many threads may read one value, but setValue() must not run beside any other use of it.
///
/// A failed encryption leaves the string empty, a failed decryption leaves the reader as it was; neither is
/// reported otherwise. Lack of memory for a text counts as such a failure; lack of memory for the few bytes
/// that hold an object together, or for a result, is std::bad_alloc. Nothing else throws.
class ZEBNETUTILS_EXPORT SecureString {
public:
    SecureString();

    /// Takes a copy; wiping `text` is the caller's (SecureStringUtils::ZEBZeroString).
    SecureString(const std::string& text);

    /// As setValue() on an empty string.
    SecureString(const char* text, unsigned long length);

    /// From what getEncryptedValue() gave: 16 bytes of initialisation vector, then the ciphertext. Fewer than
    /// 16 bytes give an empty string. That the ciphertext decrypts is not checked here.
    SecureString(const std::vector<unsigned char>& encryptedValue);

    SecureString(const SecureString& other);
    SecureString(SecureString&& other) noexcept;
    SecureString& operator=(const SecureString& other);
    SecureString& operator=(SecureString&& other) noexcept;
    ~SecureString();

    /// From what serializeToBase64() gave, by this build of the library. Anything that is not Base64 gives an
    /// empty string.
    static SecureString createFromBase64(const std::string& text);

    /// Encrypts `length` bytes, NULs among them included. Null does nothing at all: the old value stays. A
    /// length of 0 makes the string empty() and keeps the old ciphertext, which a reader still gets: ask
    /// empty() first.
    void setValue(const char* text, unsigned long length);

    /// The initialisation vector and the ciphertext; nothing for an empty string.
    std::vector<unsigned char> getEncryptedValue() const;

    /// Hands the cleartext to `reader`. With nothing to decrypt, or on failure, the reader stays as it was.
    void getUnsecureString(SecureStringReader& reader) const;

    bool empty() const;

    /// The encrypted value in Base64, without line breaks; "" for an empty string, and for one of 4 GiB and
    /// more, which is beyond base64_encode(). A holder may store it.
    std::string serializeToBase64() const;

private:
    std::shared_ptr<SecureStringData> data_;
};

/// Compares the cleartexts, of which bytes behind an embedded NUL count by their number only.
ZEBNETUTILS_EXPORT bool operator==(const SecureString& left, const SecureString& right);
ZEBNETUTILS_EXPORT bool operator!=(const SecureString& left, const SecureString& right);

}  // namespace zeb

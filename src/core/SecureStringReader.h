#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb {

struct SecureStringReaderData;

/// The cleartext of a SecureString for as long as this object lives: SecureString::getUnsecureString() fills
/// it, and its end wipes the text. Keep it in the smallest block that needs the text, and wipe copies that
/// were taken from it (SecureStringUtils).
///
/// No locks: one thread at a time.
class ZEBNETUTILS_EXPORT SecureStringReader {
public:
    SecureStringReader();

    /// As setValue().
    SecureStringReader(char* text, unsigned long size);

    /// Wipes and frees the text.
    ~SecureStringReader();

    SecureStringReader(const SecureStringReader&) = delete;
    SecureStringReader& operator=(const SecureStringReader&) = delete;

    /// Wipes and frees the text held, and takes over `text`: a block from new char[] with `size` characters
    /// and a NUL behind them. True if it was taken. Null or a size of 0 leaves the reader empty, returns
    /// false, and the block stays the caller's. `text` must not be the block that the reader already holds.
    bool setValue(const char* text, unsigned long size);

    /// The text, with a NUL behind it; it may hold further NULs. Never null: an empty reader gives "". Valid
    /// until the next setValue() or the end of the reader.
    const char* c_str() const;

    /// Characters in the text, the NUL behind it not counted.
    unsigned long getBufSize() const;

private:
    std::unique_ptr<SecureStringReaderData> data_;
};

}  // namespace zeb

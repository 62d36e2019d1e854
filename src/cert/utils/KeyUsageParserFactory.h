#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb::cert {

class KeyUsageParser;

/// A host or a test may derive and make its own parsers.
class ZEBNETUTILS_EXPORT KeyUsageParserFactory {
public:
    virtual ~KeyUsageParserFactory();

    /// A new parser for one verification; never null.
    virtual std::shared_ptr<KeyUsageParser> buildKeyUsageParser();
};

}  // namespace zeb::cert

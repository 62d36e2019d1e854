#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb::cert {

class KeyStrengthParser;

/// A host or a test may derive and make its own parsers.
class ZEBNETUTILS_EXPORT KeyStrengthParserFactory {
public:
    virtual ~KeyStrengthParserFactory();

    /// A new parser for one verification; never null.
    virtual std::shared_ptr<KeyStrengthParser> buildKeyStrengthParser();
};

}  // namespace zeb::cert

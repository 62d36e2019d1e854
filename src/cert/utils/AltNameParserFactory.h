#pragma once

#include "core/Export.h"

#include <memory>

namespace zeb::cert {

class AltNameParser;

/// A host or a test may derive and make its own parsers.
class ZEBNETUTILS_EXPORT AltNameParserFactory {
public:
    virtual ~AltNameParserFactory();

    /// A new parser for one verification; never null. In Common Criteria mode no wildcard matches.
    virtual std::shared_ptr<AltNameParser> buildAltNameParser(bool ccMode);
};

}  // namespace zeb::cert

#pragma once

#include "core/Export.h"

#include <cstdint>

namespace zeb::common {

/// The process's one counter, by which callbacks about connectivity are put in order: the later call gets the
/// higher number.
class ZEBNETUTILS_EXPORT SequenceNumber {
public:
    SequenceNumber() = delete;

    /// 1, 2, 3 and so on, each number once. The counter never wraps: at 0xFFFFFFFE it stays, and every
    /// further call logs a warning and gets that number. Any thread may call.
    static std::uint32_t getSequenceNumber();

    /// For tests: goes on behind this number. Values above 0xFFFFFFFE count as 0xFFFFFFFE.
    static void setLastNumberForTests(std::uint32_t last);
};

}  // namespace zeb::common

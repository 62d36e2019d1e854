#pragma once

#include "core/Export.h"

namespace zeb {

/// What a Thread or a pool thread runs. The object must outlive the run; nobody owns it through this
/// interface.
class ZEBNETUTILS_EXPORT Runnable {
public:
    virtual ~Runnable() = default;

    /// Called once per thread, on that thread. An exception that leaves it ends the process.
    virtual void run() = 0;

protected:
    Runnable() = default;
    Runnable(const Runnable&) = default;
    Runnable& operator=(const Runnable&) = default;
};

}  // namespace zeb

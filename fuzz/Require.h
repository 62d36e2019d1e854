#pragma once

#include <cstdio>
#include <cstdlib>

/// A property that must hold for every input; a fuzzer takes the abort for a finding.
#define ZEB_REQUIRE(condition)                                                             \
    do {                                                                                   \
        if (!(condition)) {                                                                \
            std::fprintf(stderr, "%s:%d: violated: %s\n", __FILE__, __LINE__, #condition); \
            std::abort();                                                                  \
        }                                                                                  \
    } while (false)

#pragma once

/// Marks what libdnsutils.so exports; everything else is hidden.
#define DNSUTILS_EXPORT __attribute__((visibility("default")))

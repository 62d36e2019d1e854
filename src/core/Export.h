#pragma once

/// Marks what libzebnetutils.so exports; everything else is hidden.
#define ZEBNETUTILS_EXPORT __attribute__((visibility("default")))

#pragma once

/// Marks what the shared library exports; everything else in it is hidden.
#define BRINDLE_EXPORT __attribute__((visibility("default")))

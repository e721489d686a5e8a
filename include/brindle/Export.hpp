#pragma once

/// Marks what the shared library exports; everything else in it is hidden.
#define BRINDLE_EXPORT __attribute__((visibility("default")))

/// The same for a function that is defined in its header, to be inlined: the library holds a copy that can be called,
/// too, since programs built before it was inline call that one.
#ifdef brindle_EXPORTS // which CMake defines while it builds the library
#define BRINDLE_EXPORT_INLINE __attribute__((visibility("default"), used)) inline
#else
#define BRINDLE_EXPORT_INLINE __attribute__((visibility("default"))) inline
#endif

/// Takes a member of an exported class out again, for what only the library calls.
#define BRINDLE_INTERNAL __attribute__((visibility("hidden")))

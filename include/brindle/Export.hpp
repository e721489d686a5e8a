#pragma once

/// Marks what the shared library exports; everything else in it is hidden.
#define BRINDLE_EXPORT __attribute__((visibility("default")))

/// Marks an inline member function. The library also holds a callable copy: programs built before the function was
/// inline call that one.
#ifdef brindle_EXPORTS // which CMake defines while it builds the library
#define BRINDLE_EXPORT_INLINE __attribute__((visibility("default"), used)) inline
#else
#define BRINDLE_EXPORT_INLINE __attribute__((visibility("default"))) inline
#endif

/// Hides a member of an exported class that only the library calls.
#define BRINDLE_INTERNAL __attribute__((visibility("hidden")))

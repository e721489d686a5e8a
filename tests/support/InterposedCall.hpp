#pragma once

#include <dlfcn.h>

/// The function that a test program's own function of the same name hides from the library: the sanitizer's wrapper, if there
/// is one, or the system's.
///
/// @code
/// int sem_wait(sem_t* semaphore)                 // the library calls this one
/// {
///     ++waits;
///     return REAL_CALL(sem_wait)(semaphore);
/// }
/// @endcode
#define REAL_CALL(name) reinterpret_cast<decltype(&(name))>(dlsym(RTLD_NEXT, #name))

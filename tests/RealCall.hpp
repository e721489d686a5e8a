#pragma once

#include <dlfcn.h>

/// The function that a stand-in of the same name hides: the sanitizer's wrapper, if there is one, or the
/// system's.
template <typename Function>
Function* realCall(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

#define REAL_CALL(name) realCall(&(name), #name)

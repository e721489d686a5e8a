#pragma once

#include <functional>
#include <pthread.h>
#include <string>

/// A mutex that is only recorded: to lock or unlock it adds "lock " or "unlock " to callTrace and never blocks.
inline pthread_mutex_t fakeMutex;

/// What the interposed calls of this thread have done.
inline thread_local std::string callTrace;

/// Runs when this thread has unlocked fakeMutex.
inline thread_local std::function<void()> onUnlock = [] {};

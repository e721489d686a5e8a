#pragma once

#include <brindle/Export.hpp>

#include <pthread.h>

namespace brindle::threads {

/// Holds a mutex from construction to the end of the scope, and can release it in between.
///
/// @code
/// ScopedLock lock(&queueMutex);
/// Job job = queue.front();
/// lock.unlock();
/// run(job);                          // without the mutex
/// lock.relock();
/// queue.pop();                       // the closing brace releases the mutex
/// @endcode
///
/// - Threads: a guard is for the thread that made it. Any number of guards may share a mutex.
/// - Blocking: the constructor and relock() wait, without limit, while another thread holds the mutex.
/// - Errors: none are reported. The mutex must be initialised, and a failed lock or unlock goes unnoticed:
///   docs/guides/threads-and-priorities.md says which mutexes that excludes.
/// - Fork: the child may use a mutex only if the forking thread held it, or no thread did.
/// - Lifetime: the mutex is not owned and must outlive the guard.
///
/// A guard may be held across CondVar::wait() on the same mutex: wait() unlocks the mutex while it blocks, and returns
/// with it locked.
class BRINDLE_EXPORT ScopedLock {
public:
    /// Locks @p guarded, which must be initialised and not null.
    BRINDLE_EXPORT_INLINE explicit ScopedLock(pthread_mutex_t* guarded) : mutex(guarded) { relock(); }

    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    /// Releases the mutex if this guard holds it.
    BRINDLE_EXPORT_INLINE ~ScopedLock() { unlock(); }

    /// Releases the mutex if this guard holds it; otherwise does nothing.
    BRINDLE_EXPORT_INLINE void unlock()
    {
        if (locked) {
            pthread_mutex_unlock(mutex);
        }
        locked = false;
    }

    /// Locks the mutex again, unless this guard holds it already.
    BRINDLE_EXPORT_INLINE void relock()
    {
        if (!locked) {
            pthread_mutex_lock(mutex);
        }
        locked = true;
    }

private:
    bool locked = false;
    pthread_mutex_t* mutex; // not owned
};

}

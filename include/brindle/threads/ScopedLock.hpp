#pragma once

#include <brindle/Export.hpp>

#include <pthread.h>

namespace brindle::threads {

/// Holds a mutex from construction to the end of the scope, and can let it go in between.
///
/// - Threads: one guard belongs to the thread that made it; any number of guards may share a mutex.
/// - Blocking: the constructor and relock() wait, without limit, while another thread holds the mutex.
/// - Errors: none are reported; the mutex must be initialised, and a failed lock or unlock goes unnoticed.
/// - Lifetime: the mutex is not owned and must outlive the guard. The child of a fork may use a mutex only if the forking
///   thread held it or nobody did.
///
/// A guard may be held across CondVar::wait() on the same mutex: wait() gives the mutex up while it blocks
/// and returns with it locked, just as the guard remembers it.
///
/// @code
/// ScopedLock lock(&queueMutex);
/// Job job = queue.front();
/// lock.unlock();
/// run(job);                          // without the mutex
/// lock.relock();
/// queue.pop();                       // the closing brace gives the mutex back
/// @endcode
class BRINDLE_EXPORT ScopedLock {
public:
    /// Locks @p guarded, which is initialised and not null.
    BRINDLE_EXPORT_INLINE explicit ScopedLock(pthread_mutex_t* guarded) : mutex(guarded) { relock(); }

    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    /// Gives the mutex back if this guard holds it.
    BRINDLE_EXPORT_INLINE ~ScopedLock() { unlock(); }

    /// Gives the mutex back if this guard holds it; does nothing otherwise.
    BRINDLE_EXPORT_INLINE void unlock()
    {
        if (locked) {
            pthread_mutex_unlock(mutex);
        }
        locked = false;
    }

    /// Takes the mutex again unless this guard holds it already.
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

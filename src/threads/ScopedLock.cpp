#include <brindle/threads/ScopedLock.hpp>

namespace brindle::threads {

ScopedLock::ScopedLock(pthread_mutex_t* guarded) : mutex(guarded)
{
    relock();
}

ScopedLock::~ScopedLock()
{
    unlock();
}

void ScopedLock::unlock()
{
    if (locked) {
        pthread_mutex_unlock(mutex);
    }
    locked = false;
}

void ScopedLock::relock()
{
    if (!locked) {
        pthread_mutex_lock(mutex);
    }
    locked = true;
}

}

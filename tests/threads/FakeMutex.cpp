#include "threads/FakeMutex.hpp"

#include "support/InterposedCall.hpp"

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    if (mutex != &fakeMutex) {
        return REAL_CALL(pthread_mutex_lock)(mutex);
    }
    callTrace += "lock ";
    return 0;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept
{
    if (mutex != &fakeMutex) {
        return REAL_CALL(pthread_mutex_unlock)(mutex);
    }
    callTrace += "unlock ";
    onUnlock();
    return 0;
}

#pragma once

#include <brindle/threads/ScopedLock.hpp>

#include <pthread.h>

// An attribute for clang's -Wthread-safety, which script/lint turns on. Other compilers do not know these attributes.
#if defined(__clang__)
#define BRINDLE_CHECKED_BY_CLANG(attribute) __attribute__((attribute))
#else
#define BRINDLE_CHECKED_BY_CLANG(attribute)
#endif

namespace brindle {

/// Stands for the application mutex in those attributes, which a `pthread_mutex_t` cannot carry.
struct BRINDLE_CHECKED_BY_CLANG(capability("mutex")) ApplicationMutex {};
inline ApplicationMutex applicationMutex;

/// Holds the application mutex, as a ScopedLock does, and lets clang check who uses the record without it.
class BRINDLE_CHECKED_BY_CLANG(scoped_lockable) RecordLock {
public:
    explicit RecordLock(pthread_mutex_t* mutex) BRINDLE_CHECKED_BY_CLANG(acquire_capability(applicationMutex))
        : lock(mutex)
    {
    }
    RecordLock(const RecordLock&) = delete;
    RecordLock& operator=(const RecordLock&) = delete;
    ~RecordLock() BRINDLE_CHECKED_BY_CLANG(release_capability()) {}

    void unlock() BRINDLE_CHECKED_BY_CLANG(release_capability()) { lock.unlock(); }
    void relock() BRINDLE_CHECKED_BY_CLANG(acquire_capability()) { lock.relock(); }

private:
    threads::ScopedLock lock;
};

}

#include "waiters.hpp"

#include <glib.h>

namespace {

class Mutex {
public:
    Mutex() { g_mutex_init(&mutex); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    ~Mutex() { g_mutex_clear(&mutex); }
    void lock() { g_mutex_lock(&mutex); }
    void unlock() { g_mutex_unlock(&mutex); }
    GMutex mutex = {};
};

class Waiting {
public:
    Waiting() { g_cond_init(&condition); }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ~Waiting() { g_cond_clear(&condition); }
    void wait(Mutex& mutex) { g_cond_wait(&condition, &mutex.mutex); }
    void broadcast() { g_cond_broadcast(&condition); }

private:
    GCond condition = {};
};

BENCHMARK(release<ConditionCrowd<Mutex, Waiting>>)->Name("release waiters/GLib")->Apply(crowds);

}

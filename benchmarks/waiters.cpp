// What does it cost to release many waiters, against their number?

#include "waiters.hpp"

#include <brindle/threads/CondVar.hpp>
#include <brindle/threads/ScopedLock.hpp>

#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <semaphore.h>

namespace {

class PosixMutex {
public:
    void lock() { pthread_mutex_lock(&mutex); }
    void unlock() { pthread_mutex_unlock(&mutex); }
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
};

class Brindle {
public:
    void wait(PosixMutex& mutex) { condVar.wait(&mutex.mutex); }
    void broadcast() { condVar.broadcast(); }

private:
    brindle::threads::CondVar condVar;
};

class Standard {
public:
    void wait(std::mutex& mutex)
    {
        std::unique_lock<std::mutex> lock(mutex, std::adopt_lock);
        condition.wait(lock);
        lock.release();
    }
    void broadcast() { condition.notify_all(); }

private:
    std::condition_variable condition;
};

// A semaphore in the frame of each waiting thread, and a mutex that all take.
class Semaphores {
public:
    explicit Semaphores(int size) : queue(static_cast<std::size_t>(size)) {}
    void wait(int /*number*/)
    {
        sem_t semaphore;
        sem_init(&semaphore, 0, 0);
        mutex.lock();
        queue[queued++] = &semaphore;
        mutex.unlock();
        sem_wait(&semaphore);
        mutex.lock();
        mutex.unlock();
        sem_destroy(&semaphore);
    }
    int waiting()
    {
        const std::lock_guard<PosixMutex> lock(mutex);
        return static_cast<int>(queued);
    }
    void release()
    {
        const std::lock_guard<PosixMutex> lock(mutex);
        while (queued > 0) {
            sem_post(queue[--queued]);
        }
    }

private:
    PosixMutex mutex;
    std::vector<sem_t*> queue;
    std::size_t queued = 0;
};

BENCHMARK(release<ConditionCrowd<PosixMutex, Brindle>>)->Name("release waiters/brindle")->Apply(crowds);
BENCHMARK(release<ConditionCrowd<std::mutex, Standard>>)
    ->Name("release waiters/std::condition_variable")
    ->Apply(crowds);
BENCHMARK(release<Semaphores>)->Name("release waiters/floor")->Apply(crowds);

}

BENCHMARK_MAIN();

#pragma once

#include <brindle/threads/CondVar.hpp>

#include <cstddef>

namespace brindle {

/// What the application does with the queue of its condition variable, and no program may.
///
/// - Threads: each function with the application's mutex held, but for makeRoom(), which comes before all others, and
///   forgetWaiters(), since the child of a fork has one thread.
class LoopQueue {
public:
    /// For one loop, which must not allocate with the mutex held.
    static void makeRoom(threads::CondVar& condVar) { condVar.waiters.reserve(1); }

    /// From here on a request finds the loop whose record @p self is; to sleep, it calls self.wait() without the mutex.
    static void add(threads::CondVar& condVar, threads::CondVar::WaitingCondition& self) { condVar.enqueue(self); }

    /// How many loops are queued and not released yet.
    static std::size_t waiting(const threads::CondVar& condVar) { return condVar.waiters.size(); }

    /// For the child of a fork, where the threads that waited do not exist.
    static void forgetWaiters(threads::CondVar& condVar) { condVar.waiters.clear(); }
};

}

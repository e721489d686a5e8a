#pragma once

#include <brindle/threads/CondVar.hpp>

#include <cstddef>

namespace brindle::threads {

/// The parts of CondVar::wait() and of its queue, for a caller that does more than wait() between two of its steps.
///
/// - Threads: each function needs the mutex of the CondVar, except reserve() before any other thread knows the CondVar,
///   and clear() in the child of a fork, which has one thread.
class WaiterQueue {
public:
    /// Makes room for @p waiters, so that add() does not allocate for so many.
    static void reserve(CondVar& condVar, std::size_t waiters) { condVar.waiters.reserve(waiters); }

    /// Queues @p self. From here on signal() finds it. To sleep, the caller unlocks the mutex and calls self.wait().
    static void add(CondVar& condVar, CondVar::WaitingCondition& self) { condVar.enqueue(self); }

    /// The number of waiters that no signal() has released yet.
    static std::size_t count(const CondVar& condVar) { return condVar.waiters.size(); }

    /// Removes every waiter without waking it: the waiting threads do not exist in the child of a fork.
    static void clear(CondVar& condVar) { condVar.waiters.clear(); }
};

}

#pragma once

#include <csignal>

namespace brindle {

/// SIGINT and SIGTERM.
sigset_t terminationSignals() noexcept;

/// Every signal that a thread can postpone. The C library's internal signals are not among them, nor are those that an
/// instruction raises, such as SIGSEGV: raised while blocked, they kill the process.
sigset_t asynchronousSignals() noexcept;

/// Blocks @p signals in the calling thread and stores its earlier mask in @p previous.
void blockSignals(const sigset_t& signals, sigset_t* previous) noexcept;

/// Unblocks those of @p signals that are not in the mask @p previous.
///
/// Setting the whole mask instead would unblock musl's internal signal 32, which `pthread_sigmask` does not report, and
/// kill the process in a timer callback.
void unblockSignals(const sigset_t& signals, const sigset_t& previous) noexcept;

/// Blocks the asynchronous signals in the calling thread until the end of the scope.
///
/// The holder of the application mutex needs this: a handler that interrupts it could wait for the mutex, as the
/// library's handler does, or for something that only another thread provides, and that thread may wait for the mutex.
class SignalsBlocked {
public:
    SignalsBlocked() { block(); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { unblock(); }

    /// For a thread that sleeps inside the scope: unblock() before the sleep, block() after it.
    void unblock() { unblockSignals(asynchronousSignals(), previous); }
    void block() { blockSignals(asynchronousSignals(), &previous); }

private:
    sigset_t previous; // the thread's mask outside the scope
};

}

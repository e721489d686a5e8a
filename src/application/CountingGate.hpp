#pragma once

#include <atomic>

namespace brindle {

/// Counts the users of an object, and admits no more of them once it is closed.
///
/// Threads and signal handlers still run while the process ends, and the application's record is destroyed before they
/// stop. Each user of the record therefore enters the gate first. The record's destructor closes the gate and frees
/// nothing while users are inside.
///
/// - Threads: any, and signal handlers. The state is one lock-free atomic, so no user can enter after close().
/// - Lifetime: static storage and no destructor, so the gate works until the last instruction of the process.
class CountingGate {
public:
    /// True: the caller is inside and calls leave() when done. False: the gate is closed and the record may be gone.
    bool enter()
    {
        unsigned seen = state;
        while ((seen & CLOSED) == 0) {
            if (state.compare_exchange_weak(seen, seen + 1)) {
                return true;
            }
        }
        return false;
    }

    void leave() { state.fetch_sub(1); }

    /// Admits no user from now on. Users that are inside stay.
    void close() { state.fetch_or(CLOSED); }

    /// The number of users inside.
    unsigned inside() const { return state.load() & ~CLOSED; }

    /// For the child of a fork, in which the other threads do not exist.
    void forgetUsers() { state.fetch_and(CLOSED); }

    /// Enters at the start of a scope and leaves at its end; false if the gate was closed.
    class Pass {
    public:
        explicit Pass(CountingGate& entered) : gate(entered), valid(entered.enter()) {}
        Pass(const Pass&) = delete;
        Pass& operator=(const Pass&) = delete;
        ~Pass()
        {
            if (valid) {
                gate.leave();
            }
        }
        explicit operator bool() const { return valid; }

    private:
        CountingGate& gate;
        const bool valid;
    };

private:
    static constexpr unsigned CLOSED = 1U << 31;

    std::atomic<unsigned> state = 0; // the closed bit, and the number of users inside

    // ARM before version 6 has no such instructions. There libgcc calls the kernel, without a lock, which the compiler
    // does not know.
#if !defined(__ARM_ARCH) || __ARM_ARCH >= 6
    static_assert(ATOMIC_INT_LOCK_FREE == 2, "a signal handler enters the gate, and sets the flag");
#endif
};

/// The gate of the application's record. It does not share eight bytes with Application::HasApplicationTerminated.
alignas(8) inline CountingGate recordGate;

}

#pragma once

#include <atomic>

namespace brindle {

/// Decides who may use the application's record, and lets its destructor wait until nobody does.
///
/// Signals and threads go on while the process ends, and the record is gone before they are. So whoever uses
/// the record enters the gate first; the destructor closes it and frees nothing while anybody is inside.
///
/// - Threads: any, and signal handlers. One lock-free atomic: nobody can miss the closing and still enter.
/// - Lifetime: static storage and no destructor; the gate works until the last instruction of the process.
class RecordGate {
public:
    /// True: the caller is inside and leaves when done. False: the gate is closed and the record may be gone.
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

    /// Lets nobody in from now on.
    void close() { state.fetch_or(CLOSED); }

    /// How many are inside.
    unsigned inside() const { return state.load() & ~CLOSED; }

    /// For the child of a fork, in which all other threads have ceased to exist wherever they were.
    void forgetEverybody() { state.fetch_and(CLOSED); }

    /// Enters at the start of a scope and leaves at its end; false where the gate was closed.
    class Pass {
    public:
        explicit Pass(RecordGate& entered) : gate(entered), valid(entered.enter()) {}
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
        RecordGate& gate;
        const bool valid;
    };

private:
    static constexpr unsigned CLOSED = 1U << 31;

    std::atomic<unsigned> state = 0; // the closed bit, and how many are inside

    // ARM has no such instructions before its version 6. There libgcc has the kernel do it, without a lock, too, which a
    // compiler cannot know.
#if !defined(__ARM_ARCH) || __ARM_ARCH >= 6
    static_assert(ATOMIC_INT_LOCK_FREE == 2, "a signal handler enters the gate, and sets the flag");
#endif
};

alignas(8) inline RecordGate recordGate; // not in the eight bytes of Application::HasApplicationTerminated

}

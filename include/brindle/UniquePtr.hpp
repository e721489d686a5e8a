#pragma once

namespace brindle {

/// Owns at most one object made with `new`, and deletes it in its own destructor.
///
/// @code
/// UniquePtr<pthread_mutex_t> mutex(new pthread_mutex_t);
/// pthread_mutex_init(mutex.get(), nullptr);
/// mutex.reset(new pthread_mutex_t);      // deletes the first one, then owns the second
/// mutex.clean();                         // deletes it; mutex is empty now
/// @endcode
///
/// - Threads: no lock; one thread at a time.
/// - Errors: none. A null pointer is the empty state; `*` and `->` need an object.
/// - Lifetime: the pointer becomes null after the object is deleted, so a destructor that looks back through its owner
///   finds the object.
template <typename T>
class UniquePtr {
public:
    UniquePtr() = default;

    /// Owns @p made, which comes from `new`, or nothing if it is null.
    explicit UniquePtr(T* made) : object(made) {}

    UniquePtr(const UniquePtr&) = delete;
    UniquePtr& operator=(const UniquePtr&) = delete;

    ~UniquePtr() { clean(); }

    /// Deletes the object, if there is one, and becomes empty.
    void clean()
    {
        static_assert(sizeof(T) > 0, "the type must be complete where its object is deleted");
        delete object;
        object = nullptr;
    }

    /// Deletes the object, if there is one, and owns @p made instead, which must not be the object owned now.
    void reset(T* made)
    {
        clean();
        object = made;
    }

    /// The object, which stays owned; null if there is none.
    T* get() const { return object; }

    /// @{
    /// The object, which must exist.
    T& operator*() const { return *object; }
    T* operator->() const { return object; }
    /// @}

    /// Whether there is an object.
    explicit operator bool() const { return object != nullptr; }

private:
    T* object = nullptr;
};

}

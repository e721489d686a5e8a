#pragma once

namespace brindle {

/// Owns one object made with `new`, or nothing, and deletes it at the end of its own life.
///
/// - Threads: no lock; one thread at a time.
/// - Errors: none; a null pointer is the empty state, and `*` and `->` need an object.
/// - Lifetime: the object is deleted while the pointer still refers to it and the pointer is set to null
///   afterwards, so a destructor that looks back through its owner finds itself, not null.
///
/// @code
/// UniquePtr<pthread_mutex_t> mutex(new pthread_mutex_t);
/// pthread_mutex_init(mutex.get(), nullptr);
/// mutex.reset(new pthread_mutex_t);      // deletes the first one, then owns the second
/// mutex.clean();                         // deletes it; mutex is empty now
/// @endcode
template <typename T>
class UniquePtr {
public:
    UniquePtr() = default;

    /// Owns @p made, which comes from `new`, or nothing when it is null.
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

    /// Deletes the object, if there is one, and owns @p made instead; @p made is not the object owned now.
    void reset(T* made)
    {
        clean();
        object = made;
    }

    /// The object, which stays owned, or null.
    T* get() const { return object; }

    /// @{
    /// The object, which must be there.
    T& operator*() const { return *object; }
    T* operator->() const { return object; }
    /// @}

    /// Whether there is an object.
    explicit operator bool() const { return object != nullptr; }

private:
    T* object = nullptr;
};

}

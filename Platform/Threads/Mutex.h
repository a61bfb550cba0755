#pragma once

/// The standard mutexes with clang's thread-safety annotations, which the standard library's own
/// lack. A build with clang checks them: reading or writing a field marked
/// PRISMDRIFT_GUARDED_BY(mutex) without holding the mutex is a warning. Other compilers see plain
/// standard mutexes.

#include <mutex>

#if defined(__clang__)
#define PRISMDRIFT_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define PRISMDRIFT_THREAD_ATTRIBUTE(attribute)
#endif

/// On a field: it is used only while the mutex is held.
#define PRISMDRIFT_GUARDED_BY(mutex) PRISMDRIFT_THREAD_ATTRIBUTE(guarded_by(mutex))
/// On a function: the caller holds the mutex.
#define PRISMDRIFT_REQUIRES(...) PRISMDRIFT_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
/// On a function: the caller doesn't hold the mutex.
#define PRISMDRIFT_EXCLUDES(...) PRISMDRIFT_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
/// On a function: it takes the mutex, or this one if none is named.
#define PRISMDRIFT_ACQUIRE(...) PRISMDRIFT_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
/// On a function: it lets go of the mutex, or of this one if none is named.
#define PRISMDRIFT_RELEASE(...) PRISMDRIFT_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
/// On a function: it takes the mutex where it returns the first argument.
#define PRISMDRIFT_TRY_ACQUIRE(...) PRISMDRIFT_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))

namespace Platform {

/// A standard mutex, std::mutex or std::recursive_mutex, that the analysis knows.
template <typename Standard>
class PRISMDRIFT_THREAD_ATTRIBUTE(capability("mutex")) CheckedMutex : public Standard {
public:
    void lock() PRISMDRIFT_ACQUIRE() { Standard::lock(); }
    void unlock() PRISMDRIFT_RELEASE() { Standard::unlock(); }
    bool try_lock() PRISMDRIFT_TRY_ACQUIRE(true) { return Standard::try_lock(); }
};

using Mutex = CheckedMutex<std::mutex>;
using RecursiveMutex = CheckedMutex<std::recursive_mutex>;

/// Holds a mutex for the length of a block.
template <typename Standard>
class PRISMDRIFT_THREAD_ATTRIBUTE(scoped_lockable) CheckedLock {
public:
    explicit CheckedLock(CheckedMutex<Standard>& mutex) PRISMDRIFT_ACQUIRE(mutex) : mLock(mutex) {}
    CheckedLock(const CheckedLock&) = delete;
    CheckedLock& operator=(const CheckedLock&) = delete;
    ~CheckedLock() PRISMDRIFT_RELEASE() = default;

    /// For a std::condition_variable to wait with. Waiting in a loop, not with a predicate, keeps
    /// the analysis able to see that the mutex is held.
    std::unique_lock<Standard>& standard() { return mLock; }

private:
    std::unique_lock<Standard> mLock;
};

using MutexLock = CheckedLock<std::mutex>;
using RecursiveMutexLock = CheckedLock<std::recursive_mutex>;

} // namespace Platform

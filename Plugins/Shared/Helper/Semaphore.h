#pragma once

/// A counting semaphore: permits that threads give and take. A thin owner of one of the kernel's
/// semaphores.
///
/// Required of the caller
///  - No thread is inside an operation when the object is destroyed, with one exception: the thread
///    that took the permit of a `signal()` may destroy it although that call has not returned yet.
///  - No operation is called from a handler of an asynchronous signal.
///
/// Guaranteed in return
///  - All operations but the destructor may run on any number of threads at once.
///  - Each permit lets one `wait` through, also when it is given before anyone waits. It belongs to
///    whoever takes it first: a running thread may take it before the one that `signal` woke.
///  - Among the threads that wait, the one that came last is woken first.
///  - Where no thread waits, `wait` and the signals make no system call, unless two threads meet.
///
/// Memory ordering: what a thread did before `signal` or `signalAll` happens before the return of
/// each `wait` that it lets through, so a semaphore of count 1 serves as a lock.
///
///     Semaphore slots(4);
///     slots.wait();   // at most four threads at a time get past here
///     convert(frame);
///     slots.signal();

#include "Platform/Kernel/KernelSemaphore.h"
#include "Platform/Threads/Mutex.h"

#include <atomic>
#include <cstdint>

namespace Vexorel::PrismDrift {

/// A field may be marked as guarded by a semaphore that serves as a lock. The class that holds it
/// for a block is marked, `wait` and `signal` are not: one thread may wait and another signal.
class PRISMDRIFT_THREAD_ATTRIBUTE(capability("semaphore")) Semaphore {
public:
    /// Starts with `count` permits; with 2^31 - 1 if `count` is more.
    explicit Semaphore(unsigned int count);
    virtual ~Semaphore();

    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Takes a permit; blocks until there is one.
    void wait();

    /// Gives a permit.
    void signal();

    /// Gives `count` permits, one after another: a thread that takes the first may run before the
    /// last is given.
    void signal(unsigned int count);

    /// Lets through all threads that wait at this moment, and no other: a thread that comes later
    /// waits. Free permits stay.
    void signalAll();

    /// The kernel's name of the semaphore, owned; 0 if the kernel could not make one. No operation
    /// has an effect then.
    semaphore_t mHandle = 0;

    /// How many threads are inside `wait` at this moment, for debuggers and tests. It orders no
    /// other memory access.
    std::atomic<std::int64_t> mWaiting{0};
};

} // namespace Vexorel::PrismDrift

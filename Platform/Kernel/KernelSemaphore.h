#pragma once

/// The kernel's counting semaphores, under the names and numbers of the platform that this code
/// base comes from; a build on that platform swaps this folder for the real interface.
///
/// A semaphore is a count of permits and the threads that wait for one. It is known by a 32-bit
/// name, as a file is by its descriptor: copied freely, valid in this process until it is
/// destroyed.
///
/// Required of the caller
///  - semaphore_destroy comes after every other call on that name has returned, with one exception:
///    the thread that took a signal's permit may destroy the semaphore although the call that gave
///    the permit has not returned yet.
///  - No call is made from a handler of an asynchronous signal.
///
/// Guaranteed in return
///  - Each permit lets one wait through, and no thread sleeps while a permit is free. A permit
///    belongs to whoever takes it first: a running thread may take it before the one that the
///    signal woke, which then goes on waiting. This keeps a semaphore that serves as a lock from
///    waiting for a sleeping thread to wake at each turn.
///  - Among the threads that wait, the one that came last is woken first.
///  - semaphore_signal_all lets through the threads that wait when it takes effect, all of them and
///    no other. It leaves no permit behind: a thread that arrives later waits.
///  - A wait that a signal handler interrupts goes on waiting when the handler has returned.
///    A wait is not a cancellation point.
///  - A name that was never given, or whose semaphore was destroyed, is refused. A name comes back
///    only after 2^32 - 1 others.
///
/// Cost: one short lock for all semaphores of the process. A wait or a signal makes no system call,
/// unless it has to sleep, wakes a thread or meets another call.
///
/// Memory ordering: whatever a thread did before semaphore_signal or semaphore_signal_all happens
/// before the return of each wait that it lets through. What was done before earlier signals,
/// whoever takes their permits, is seen as well.
///
///     semaphore_t ready = 0;
///     semaphore_create(mach_task_self(), &ready, SYNC_POLICY_LIFO, 0);
///     std::thread worker([&] { answer = compute(); semaphore_signal(ready); });
///     semaphore_wait(ready); // from here on, `answer` may be read
///     worker.join();
///     semaphore_destroy(mach_task_self(), ready);

#include <cstdint>

/// The name of a semaphore. 0 is never one.
using semaphore_t = std::uint32_t;

/// The name of a process.
using task_t = std::uint32_t;

/// The result of a call: KERN_SUCCESS, or why nothing was done.
using kern_return_t = int;

enum : kern_return_t {
    KERN_SUCCESS = 0,
    KERN_INVALID_ARGUMENT = 4,  ///< a null pointer, an unknown name, task, policy or count
    KERN_RESOURCE_SHORTAGE = 6, ///< no memory left, or no room in the count
    KERN_TERMINATED = 37        ///< the semaphore was destroyed under a thread that waited
};

/// The order in which waiting threads are woken: last in, first out is the one there is.
enum : int { SYNC_POLICY_LIFO = 2 };

/// The calling process, the only one whose semaphores can be made and destroyed here.
task_t mach_task_self();

/// Makes a semaphore of `value` permits, 0 to 2^31 - 1, and writes its name. On failure `semaphore`
/// is left as it was.
kern_return_t semaphore_create(task_t task, semaphore_t* semaphore, int policy, int value);

/// Ends the semaphore and its name. A thread that still waits returns with KERN_TERMINATED.
kern_return_t semaphore_destroy(task_t task, semaphore_t semaphore);

/// Takes a permit; blocks until there is one.
kern_return_t semaphore_wait(semaphore_t semaphore);

/// Adds a permit, up to 2^31 - 1, and wakes the thread that came last among those that wait.
kern_return_t semaphore_signal(semaphore_t semaphore);

/// Lets through all threads that wait; without any, does nothing.
kern_return_t semaphore_signal_all(semaphore_t semaphore);

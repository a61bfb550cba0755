#pragma once

/// The kernel's counting semaphores, under the names and numbers of the platform that this code
/// base comes from; a build on that platform swaps this folder for the real interface. Here they
/// stand on the futex: a call that need not block makes no system call, and one that must block
/// sleeps.
///
/// A semaphore is a count of permits and the threads that wait for one. It is known by a 32-bit
/// name, as a file is by its descriptor: copied freely, valid in this process until it is
/// destroyed.
///
/// Required of the caller
///  - semaphore_destroy comes after every other call on that name has returned, but for one kind:
///    whoever took the permit that a signal gave may destroy the semaphore at once, though the
///    call that gave it is still on its way out.
///  - No call is made from a handler of an asynchronous signal.
///
/// Guaranteed in return
///  - Each permit lets one wait through, and none lies idle while a thread sleeps for it. It is for
///    whoever comes first: a running thread may take it before the one that the signal woke, which
///    then goes on waiting.
///  - Among the threads that wait, the one that came last is woken first.
///  - semaphore_signal_all lets through the threads that wait when it takes effect, all of them and
///    no other. It leaves no permit behind: a thread that arrives later waits.
///  - A wait that a signal handler interrupts goes on waiting when the handler has returned.
///    A wait is not a cancellation point.
///  - A name that is not valid, or no longer, is refused and reaches no other semaphore (a name
///    comes back after 4095 semaphores have been made and destroyed in the same place).
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
    KERN_RESOURCE_SHORTAGE = 6, ///< no memory or no name left, or no room in the count
    KERN_TERMINATED = 37        ///< the semaphore was destroyed under a thread that waited
};

/// The order in which waiting threads are woken: last in, first out is the one there is.
enum : int { SYNC_POLICY_LIFO = 2 };

/// The calling process, the only one whose semaphores can be made and destroyed here.
task_t mach_task_self();

/// Makes a semaphore of `value` permits, 0 to 2^31 - 1, and writes its name. On failure `semaphore`
/// is left as it was. A process holds up to 2^20 of them at a time; the first 256 take no memory
/// from the heap.
kern_return_t semaphore_create(task_t task, semaphore_t* semaphore, int policy, int value);

/// Ends the semaphore and its name. A thread that still waits returns with KERN_TERMINATED.
kern_return_t semaphore_destroy(task_t task, semaphore_t semaphore);

/// Takes a permit; blocks until there is one.
kern_return_t semaphore_wait(semaphore_t semaphore);

/// Adds a permit, up to 2^31 - 1, and wakes the thread that came last among those that wait.
kern_return_t semaphore_signal(semaphore_t semaphore);

/// Lets through all threads that wait; without any, does nothing.
kern_return_t semaphore_signal_all(semaphore_t semaphore);

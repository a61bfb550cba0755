#pragma once

/// Tasks that any thread hands over, and that another runs one at a time when it has nothing
/// better to do: first in, first out, and never under the queue's lock.
///
/// Required of the caller
///  - No thread is inside an operation when the queue is destroyed, but for a task that
///    `updateQueue` is running: it may destroy the queue that it came from.
///  - The destructor of a pending task does not use a queue that is being destroyed.
///
/// Guaranteed in return
///  - All operations but the destructor may run on any number of threads at once, with any number
///    of them calling `updateQueue`: each task is run once, or dropped once by `clearAsyncQueue`
///    or the destructor.
///  - Tasks are taken in the order in which `async` appended them; several threads that call
///    `updateQueue` begin them in that order and may end them in another.
///  - No code of a task runs under the lock, its copy and its destruction included: a task, and
///    what it holds, may call any operation of the queue.
///  - An exception, a task's own or one of a failed copy or allocation, leaves the operation that
///    it arose in; the queue stays usable.
///
/// Memory ordering: what a thread did before `async` happens before the run or the destruction of
/// that task by another.
///
///     IdleQueue idle;
///     std::thread loader([&] { idle.async([picture = load()] { show(picture); }); });
///     while (running) {         // on the thread that owns the window
///         handleEvents();
///         idle.updateQueue();   // one task a turn
///     }

#include "Shared/Helper/Semaphore.h"

#include <deque>
#include <functional>

namespace Vexorel::PrismDrift {

class IdleQueue {
public:
    IdleQueue();

    /// Drops what is pending without running it.
    virtual ~IdleQueue();

    IdleQueue(const IdleQueue&) = delete;
    IdleQueue& operator=(const IdleQueue&) = delete;

    /// Appends a copy of `task`, and never runs it. If the copy or the memory fails, the exception
    /// leaves this call and the queue is as it was.
    void async(const std::function<void()>& task);

    /// Whether a task is pending. With several threads at work the answer may be out of date when
    /// it arrives.
    bool hasTask() const;

    /// Takes the oldest task off the queue and runs it on this thread; without one, does nothing.
    /// A task that holds nothing to call is taken off too and makes this throw
    /// std::bad_function_call.
    void updateQueue();

    /// Drops the tasks that are pending at this moment without running them.
    void clearAsyncQueue();

    /// Count 1: the lock around mQueue. Owned.
    Semaphore* mSemaphore;

    /// The pending tasks, the oldest in front.
    std::deque<std::function<void()>> mQueue PRISMDRIFT_GUARDED_BY(mSemaphore);
};

} // namespace Vexorel::PrismDrift

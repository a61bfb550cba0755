#pragma once

/// A queue of tasks: any thread appends, and a thread that is idle runs them one at a time, first
/// in, first out, and never under the queue's lock.
///
/// Required of the caller
///  - No thread is inside an operation when the queue is destroyed, with one exception: a task that
///    `updateQueue` is running may destroy the queue that it came from.
///  - The destructor of a pending task does not use a queue that is being destroyed.
///
/// Guaranteed in return
///  - All operations but the destructor may run on any number of threads at once, `updateQueue`
///    included: each task is run once, or dropped once by `clearAsyncQueue` or the destructor.
///  - Tasks are taken in the order in which `async` appended them. Where several threads call
///    `updateQueue`, a later task may end before an earlier one.
///  - No code of a task runs under the lock, nor its copy constructor and destructor: a task, and
///    what it holds, may call any operation of the queue.
///  - An exception of a task, of its copy or of an allocation leaves the operation in which it is
///    thrown; the queue stays usable.
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

    /// Drops the pending tasks without running them.
    virtual ~IdleQueue();

    IdleQueue(const IdleQueue&) = delete;
    IdleQueue& operator=(const IdleQueue&) = delete;

    /// Appends a copy of `task` and never runs it. Where copying or appending throws, the queue is
    /// as it was.
    void async(const std::function<void()>& task);

    /// Whether a task is pending. Other threads may have changed that by the time it returns.
    bool hasTask() const;

    /// Takes the oldest task off the queue and runs it on this thread; without one, does nothing.
    /// An empty function is taken off too and makes this throw std::bad_function_call.
    void updateQueue();

    /// Drops the tasks that are pending at this moment without running them.
    void clearAsyncQueue();

    /// Count 1: the lock around mQueue. Owned.
    Semaphore* mSemaphore;

    /// The pending tasks, the oldest in front.
    std::deque<std::function<void()>> mQueue PRISMDRIFT_GUARDED_BY(mSemaphore);
};

} // namespace Vexorel::PrismDrift

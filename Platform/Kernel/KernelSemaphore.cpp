#include "Platform/Kernel/KernelSemaphore.h"

// How it works
//
// A semaphore lives in a slot. Slots are never given back to the heap, so a name leads to memory
// that can be read whatever became of the semaphore, through two loads and no lock. The slot's
// state is one 64-bit word: the name, a bit that says whether threads wait, and the permits.
//
//  - A taker lowers the permits by compare-exchange whenever there are any. A giver raises them the
//    same way while no thread waits, and under the slot's lock while some do. Since the name is
//    part of the word, an exchange through a stale name can't succeed.
//  - A thread that must wait puts itself on the slot's list under the lock; the exchange that sets
//    the bit finds no permit at the same time. The bit and the list change under the lock only: who
//    holds it knows who waits, and "all that wait now" is the list at that moment.
//  - A giver with threads waiting nudges the last to come that is not nudged yet, unless as many
//  are
//    as there are permits. A nudged thread stays on the list, wakes and takes a permit under the
//    lock; if a running thread was faster, it sleeps again. At any time as many threads are nudged
//    as there are permits, or all are, so no permit lies idle beside a sleeping thread. That a
//    running thread may be faster is what keeps a semaphore that serves as a lock from passing
//    through a sleeping thread, two switches long, at each turn.
//  - All changes of the word but for the slot's birth are read-modify-write operations, with
//  release
//    ordering on the giver's side and acquire ordering on the taker's: each continues the release
//    sequence of the earlier ones, so a taker sees what every earlier giver did. A thread that
//    signal_all lets through gets the same from `Waiter::state`, a release store that its acquire
//    load reads.
//  - The giver's last access to the slot is the exchange, or the unlocking of a lock that
//    destruction takes too. The call that wakes a nudged thread comes after that and may name a
//    stack frame that is already gone: the kernel takes the address as a key only, and a futex that
//    has since come to lie there sees one spurious wake-up, which every user of a futex has to
//    allow for.

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <new>
#include <type_traits>
#include <utility>

namespace {

constexpr task_t kThisTask = 1;
constexpr unsigned kIndexBits = 20;
constexpr unsigned kSlotBits = 8;
constexpr std::uint32_t kIndexMask = (1U << kIndexBits) - 1;
constexpr std::uint32_t kSlotsPerChunk = 1U << kSlotBits;
constexpr std::uint32_t kChunks = 1U << (kIndexBits - kSlotBits);
constexpr std::uint32_t kGenerations = 1U << (32 - kIndexBits);
constexpr std::uint64_t kMostPermits = (1U << 31) - 1;
constexpr std::uint64_t kWaitersBit = 1U << 31;

static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t), "a futex is 32 bits");

enum State : std::uint32_t { kAsleep, kNudged, kLetThrough, kTerminated };

// One thread in semaphore_wait, on its own stack. It is on the slot's list while asleep or nudged,
// and whoever ends that takes it off under the slot's lock.
struct Waiter {
    Waiter* next = nullptr; // guarded by the slot's lock
    std::atomic<std::uint32_t> state{kAsleep};

    void sleep() {
        while (state.load(std::memory_order_acquire) == kAsleep) {
            // Woken, interrupted by a handler or too late to sleep: the loop looks again.
            syscall(SYS_futex, &state, FUTEX_WAIT_PRIVATE, kAsleep, nullptr, nullptr, 0);
        }
    }

    void wake() { syscall(SYS_futex, &state, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0); }
};

struct alignas(64) Slot {
    std::atomic<std::uint64_t> word{0}; // 0 while no semaphore lives here
    std::mutex lock;
    Waiter* waiters = nullptr;    // the last to come first; guarded by lock
    std::uint32_t nudged = 0;     // how many of them are; guarded by lock
    std::uint32_t generation = 0; // guarded by the registry's lock, as is nextFree
    std::uint32_t nextFree = 0;
};

using Chunk = std::array<Slot, kSlotsPerChunk>;

std::uint64_t makeWord(semaphore_t name, std::uint32_t permits) {
    return std::uint64_t{name} << 32 | permits;
}

bool isNamed(std::uint64_t word, semaphore_t name) {
    return word >> 32 == name;
}

bool hasWaiters(std::uint64_t word) {
    return (word & kWaitersBit) != 0;
}

std::uint32_t permitsOf(std::uint64_t word) {
    return static_cast<std::uint32_t>(word & kMostPermits);
}

// All slots, and which of them are free. Constant-initialised and never destroyed: static objects
// of any module may hold semaphores.
class Registry {
public:
    // The slot that `name` would lie in; null for a name that was never given.
    Slot* find(semaphore_t name) const;

    // A name for a free slot; 0 when there is no memory or no name left.
    semaphore_t take();

    void giveBack(semaphore_t name);

private:
    static constexpr std::uint32_t kNone = kIndexMask + 1;

    bool addSlot();

    std::array<std::atomic<Chunk*>, kChunks> mChunks{}; // the first stays null: it is sFirstChunk
    std::mutex mLock;
    std::uint32_t mFree = kNone; // guarded by mLock
    std::uint32_t mUsed = 0;     // slots that were ever taken; guarded by mLock
};

Chunk sFirstChunk;
Registry sRegistry;

static_assert(std::is_trivially_destructible_v<Chunk>);
static_assert(std::is_trivially_destructible_v<Registry>);

Slot* Registry::find(semaphore_t name) const {
    const std::uint32_t index = name & kIndexMask;
    Chunk* chunk = index < kSlotsPerChunk
                       ? &sFirstChunk
                       : mChunks[index >> kSlotBits].load(std::memory_order_acquire);
    return chunk != nullptr && name != 0 ? &(*chunk)[index % kSlotsPerChunk] : nullptr;
}

semaphore_t Registry::take() {
    const std::lock_guard<std::mutex> guard(mLock);
    const bool reused = mFree != kNone;
    const std::uint32_t index = reused ? mFree : mUsed;
    if (!reused && !addSlot()) {
        return 0;
    }
    Slot* slot = find(1U << kIndexBits | index);
    if (reused) {
        mFree = slot->nextFree;
    }
    slot->generation = slot->generation + 1 < kGenerations ? slot->generation + 1 : 1;
    return slot->generation << kIndexBits | index;
}

void Registry::giveBack(semaphore_t name) {
    const std::lock_guard<std::mutex> guard(mLock);
    find(name)->nextFree = mFree;
    mFree = name & kIndexMask;
}

bool Registry::addSlot() {
    if (mUsed == kNone) {
        return false;
    }
    const std::uint32_t chunk = mUsed >> kSlotBits;
    if (chunk > 0 && mUsed % kSlotsPerChunk == 0) {
        Chunk* added = new (std::nothrow) Chunk;
        if (added == nullptr) {
            return false;
        }
        mChunks[chunk].store(added, std::memory_order_release);
    }
    ++mUsed;
    return true;
}

// Each of the two leaves in `word` what was found last.
bool takePermit(Slot& slot, std::uint64_t& word, semaphore_t name) {
    while (isNamed(word, name) && permitsOf(word) > 0) {
        if (slot.word.compare_exchange_weak(word, word - 1, std::memory_order_acquire,
                                            std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

// Where threads wait, `underLock` says that the caller will nudge one.
bool givePermit(Slot& slot, std::uint64_t& word, semaphore_t name, bool underLock) {
    while (isNamed(word, name) && permitsOf(word) < kMostPermits &&
           (underLock || !hasWaiters(word))) {
        if (slot.word.compare_exchange_weak(word, word + 1, std::memory_order_release,
                                            std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

// Takes the nudged `waiter` off the list.
void leave(Slot& slot, const Waiter& waiter) {
    Waiter** link = &slot.waiters;
    while (*link != &waiter) {
        link = &(*link)->next;
    }
    *link = waiter.next;
    --slot.nudged;
    if (slot.waiters == nullptr) {
        slot.word.fetch_and(~kWaitersBit, std::memory_order_relaxed);
    }
}

// Sleeps until there is a permit for `self`, which is on the list, or something else ends the wait.
kern_return_t sleepOnList(Slot& slot, semaphore_t name, Waiter& self) {
    for (;;) {
        self.sleep();
        if (self.state.load(std::memory_order_acquire) == kNudged) {
            const std::lock_guard<std::mutex> guard(slot.lock);
            if (self.state.load(std::memory_order_relaxed) == kNudged) {
                std::uint64_t word = slot.word.load(std::memory_order_relaxed);
                if (takePermit(slot, word, name)) {
                    leave(slot, self);
                    return KERN_SUCCESS;
                }
                self.state.store(kAsleep, std::memory_order_relaxed);
                --slot.nudged;
                continue;
            }
        }
        return self.state.load(std::memory_order_acquire) == kLetThrough ? KERN_SUCCESS
                                                                         : KERN_TERMINATED;
    }
}

kern_return_t waitOnList(Slot& slot, semaphore_t name) {
    Waiter self;
    {
        const std::lock_guard<std::mutex> guard(slot.lock);
        std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        do {
            if (takePermit(slot, word, name)) {
                return KERN_SUCCESS;
            }
            if (!isNamed(word, name)) {
                return KERN_INVALID_ARGUMENT;
            }
        } while (
            !slot.word.compare_exchange_weak(word, word | kWaitersBit, std::memory_order_relaxed));
        self.next = std::exchange(slot.waiters, &self);
    }
    return sleepOnList(slot, name, self);
}

kern_return_t signalUnderLock(Slot& slot, semaphore_t name) {
    Waiter* woken = nullptr;
    {
        const std::lock_guard<std::mutex> guard(slot.lock);
        std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        if (!givePermit(slot, word, name, true)) {
            return isNamed(word, name) ? KERN_RESOURCE_SHORTAGE : KERN_INVALID_ARGUMENT;
        }
        if (permitsOf(word) >= slot.nudged) { // `word` is from before this permit
            woken = slot.waiters;
            while (woken != nullptr && woken->state.load(std::memory_order_relaxed) != kAsleep) {
                woken = woken->next;
            }
        }
        if (woken != nullptr) {
            woken->state.store(kNudged, std::memory_order_release);
            ++slot.nudged;
        }
    }
    if (woken != nullptr) {
        woken->wake();
    }
    return KERN_SUCCESS;
}

// Ends the wait of all threads on the list. Those that were nudged get the permits meant for them
// first; the other permits stay, or go with the semaphore if it is terminated.
kern_return_t endAllWaits(Slot& slot, semaphore_t name, State end) {
    const std::lock_guard<std::mutex> guard(slot.lock);
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    std::uint64_t next = 0;
    do {
        if (!isNamed(word, name)) {
            return KERN_INVALID_ARGUMENT;
        }
        const std::uint32_t permits = permitsOf(word);
        next = end == kTerminated ? 0 : makeWord(name, permits - std::min(permits, slot.nudged));
    } while (!slot.word.compare_exchange_weak(word, next, std::memory_order_acq_rel,
                                              std::memory_order_relaxed));
    slot.nudged = 0;
    for (Waiter* waiter = std::exchange(slot.waiters, nullptr); waiter != nullptr;) {
        Waiter& ended = *waiter;
        waiter = ended.next; // before the thread can go
        ended.state.store(end, std::memory_order_release);
        ended.wake();
    }
    return KERN_SUCCESS;
}

} // namespace

task_t mach_task_self() {
    return kThisTask;
}

kern_return_t semaphore_create(task_t task, semaphore_t* semaphore, int policy, int value) {
    if (task != kThisTask || semaphore == nullptr || policy != SYNC_POLICY_LIFO || value < 0) {
        return KERN_INVALID_ARGUMENT;
    }
    const semaphore_t name = sRegistry.take();
    if (name == 0) {
        return KERN_RESOURCE_SHORTAGE;
    }
    sRegistry.find(name)->word.store(makeWord(name, static_cast<std::uint32_t>(value)),
                                     std::memory_order_release);
    *semaphore = name;
    return KERN_SUCCESS;
}

kern_return_t semaphore_destroy(task_t task, semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    if (task != kThisTask || slot == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    const kern_return_t result = endAllWaits(*slot, semaphore, kTerminated);
    if (result == KERN_SUCCESS) {
        sRegistry.giveBack(semaphore);
    }
    return result;
}

kern_return_t semaphore_wait(semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    if (slot == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    std::uint64_t word = slot->word.load(std::memory_order_relaxed);
    return takePermit(*slot, word, semaphore) ? KERN_SUCCESS : waitOnList(*slot, semaphore);
}

kern_return_t semaphore_signal(semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    if (slot == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    std::uint64_t word = slot->word.load(std::memory_order_relaxed);
    return givePermit(*slot, word, semaphore, false) ? KERN_SUCCESS
                                                     : signalUnderLock(*slot, semaphore);
}

kern_return_t semaphore_signal_all(semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    return slot != nullptr ? endAllWaits(*slot, semaphore, kLetThrough) : KERN_INVALID_ARGUMENT;
}

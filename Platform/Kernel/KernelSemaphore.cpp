#include "Platform/Kernel/KernelSemaphore.h"

// How it works
//
// A semaphore lives in a slot. Slots are never given back to the heap, so a name leads to memory
// that can be read whatever became of the semaphore, through two loads and no lock. The slot's
// state is one 64-bit word, the name above the count:
//
//     count > 0   permits
//     count = 0   neither permits nor waiting threads
//     count < 0   -count threads wait, and the list under the slot's lock has exactly that many
//
//  - From 0 upwards the word is changed by compare-exchange, with or without the lock. Since the
//    name is part of it, an exchange through a stale name can't succeed.
//  - Into, within and out of the negative range it is changed under the lock only. So who holds
//    the lock knows who waits, and "all that wait now" is the list at that moment.
//  - All changes of the word but for the slot's birth are read-modify-write operations with release
//    ordering on the giver's side and acquire ordering on the taker's: each continues the release
//    sequence of the earlier ones, so a taker sees what every earlier giver did. A thread that
//    slept gets the same through `Waiter::outcome`, a release store that its acquire load reads.
//  - The giver's last access to the slot is the exchange, or the unlocking of a lock that
//    destruction takes too; its last access to a waiter is the store to `outcome`. The futex call
//    behind that store may name a stack frame that is already gone: the kernel takes the address
//    as a key only, and a futex that has since come to lie there sees one spurious wake-up, which
//    every user of a futex has to allow for.

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
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
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min() + 1;

static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t), "a futex is 32 bits");

enum Outcome : std::uint32_t { kPending, kPermit, kTerminated };

// One thread in semaphore_wait, on its own stack.
struct Waiter {
    Waiter* next = nullptr; // guarded by the slot's lock until it is taken off the list
    std::atomic<std::uint32_t> outcome{kPending};

    std::uint32_t sleep() {
        std::uint32_t result = outcome.load(std::memory_order_acquire);
        while (result == kPending) {
            // Woken, interrupted by a handler or too late to sleep: the loop looks again.
            syscall(SYS_futex, &outcome, FUTEX_WAIT_PRIVATE, kPending, nullptr, nullptr, 0);
            result = outcome.load(std::memory_order_acquire);
        }
        return result;
    }

    void wake(Outcome result) {
        outcome.store(result, std::memory_order_release);
        syscall(SYS_futex, &outcome, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    }
};

struct alignas(64) Slot {
    std::atomic<std::uint64_t> word{0}; // 0 while no semaphore lives here
    std::mutex lock;
    Waiter* waiters = nullptr;    // the last to come first; guarded by lock
    std::uint32_t generation = 0; // guarded by the registry's lock, as is nextFree
    std::uint32_t nextFree = 0;
};

using Chunk = std::array<Slot, kSlotsPerChunk>;

std::uint64_t makeWord(semaphore_t name, std::int32_t count) {
    return std::uint64_t{name} << 32 | static_cast<std::uint32_t>(count);
}

bool isNamed(std::uint64_t word, semaphore_t name) {
    return word >> 32 == name;
}

std::int32_t countOf(std::uint64_t word) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(word));
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

// Adds `change` to a count from `least` to `most`. False where the count is another or the slot is
// another semaphore's by now; `word` then holds what was found.
bool changeCount(Slot& slot, std::uint64_t& word, semaphore_t name, std::int32_t least,
                 std::int32_t most, std::int32_t change, std::memory_order order) {
    while (isNamed(word, name) && countOf(word) >= least && countOf(word) <= most) {
        if (slot.word.compare_exchange_weak(word, makeWord(name, countOf(word) + change), order,
                                            std::memory_order_relaxed)) {
            return true;
        }
    }
    return false;
}

bool takePermit(Slot& slot, std::uint64_t& word, semaphore_t name) {
    return changeCount(slot, word, name, 1, kMost, -1, std::memory_order_acquire);
}

bool givePermit(Slot& slot, std::uint64_t& word, semaphore_t name) {
    return changeCount(slot, word, name, 0, kMost - 1, 1, std::memory_order_release);
}

kern_return_t waitInLine(Slot& slot, semaphore_t name) {
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
        } while (!changeCount(slot, word, name, kLeast, 0, -1, std::memory_order_relaxed));
        self.next = std::exchange(slot.waiters, &self);
    }
    return self.sleep() == kPermit ? KERN_SUCCESS : KERN_TERMINATED;
}

kern_return_t signalUnderLock(Slot& slot, semaphore_t name) {
    Waiter* last = nullptr;
    {
        const std::lock_guard<std::mutex> guard(slot.lock);
        std::uint64_t word = slot.word.load(std::memory_order_relaxed);
        if (changeCount(slot, word, name, kLeast, -1, 1, std::memory_order_release)) {
            last = std::exchange(slot.waiters, slot.waiters->next);
        } else if (!givePermit(slot, word, name)) {
            return isNamed(word, name) ? KERN_RESOURCE_SHORTAGE : KERN_INVALID_ARGUMENT;
        }
    }
    if (last != nullptr) {
        last->wake(kPermit);
    }
    return KERN_SUCCESS;
}

enum class After { kStays, kEnds };

// Takes all that wait off the list; the semaphore then has none and keeps its permits, or ends.
// False for a stale name.
bool takeAll(Slot& slot, semaphore_t name, After after, Waiter*& waiters) {
    const std::lock_guard<std::mutex> guard(slot.lock);
    std::uint64_t word = slot.word.load(std::memory_order_relaxed);
    std::uint64_t next = 0;
    do {
        if (!isNamed(word, name)) {
            return false;
        }
        next = after == After::kEnds ? 0 : makeWord(name, std::max(countOf(word), 0));
    } while (!slot.word.compare_exchange_weak(word, next, std::memory_order_release,
                                              std::memory_order_relaxed));
    waiters = std::exchange(slot.waiters, nullptr);
    return true;
}

void wakeAll(Waiter* waiters, Outcome outcome) {
    while (waiters != nullptr) {
        Waiter* next = waiters->next; // before the waiter can go
        waiters->wake(outcome);
        waiters = next;
    }
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
    sRegistry.find(name)->word.store(makeWord(name, value), std::memory_order_release);
    *semaphore = name;
    return KERN_SUCCESS;
}

kern_return_t semaphore_destroy(task_t task, semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    Waiter* waiters = nullptr;
    if (task != kThisTask || slot == nullptr || !takeAll(*slot, semaphore, After::kEnds, waiters)) {
        return KERN_INVALID_ARGUMENT;
    }
    sRegistry.giveBack(semaphore);
    wakeAll(waiters, kTerminated);
    return KERN_SUCCESS;
}

kern_return_t semaphore_wait(semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    if (slot == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    std::uint64_t word = slot->word.load(std::memory_order_relaxed);
    return takePermit(*slot, word, semaphore) ? KERN_SUCCESS : waitInLine(*slot, semaphore);
}

kern_return_t semaphore_signal(semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    if (slot == nullptr) {
        return KERN_INVALID_ARGUMENT;
    }
    std::uint64_t word = slot->word.load(std::memory_order_relaxed);
    return givePermit(*slot, word, semaphore) ? KERN_SUCCESS : signalUnderLock(*slot, semaphore);
}

kern_return_t semaphore_signal_all(semaphore_t semaphore) {
    Slot* slot = sRegistry.find(semaphore);
    Waiter* waiters = nullptr;
    if (slot == nullptr || !takeAll(*slot, semaphore, After::kStays, waiters)) {
        return KERN_INVALID_ARGUMENT;
    }
    wakeAll(waiters, kPermit);
    return KERN_SUCCESS;
}

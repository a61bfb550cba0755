#include "Shared/Helper/Semaphore.h"

#include <algorithm>
#include <limits>

namespace Vexorel::PrismDrift {

Semaphore::Semaphore(unsigned int count) {
    constexpr unsigned int most = std::numeric_limits<int>::max();
    semaphore_create(mach_task_self(), &mHandle, SYNC_POLICY_LIFO,
                     static_cast<int>(std::min(count, most)));
}

Semaphore::~Semaphore() {
    semaphore_destroy(mach_task_self(), mHandle);
}

void Semaphore::wait() {
    mWaiting.fetch_add(1);
    semaphore_wait(mHandle);
    mWaiting.fetch_sub(1);
}

void Semaphore::signal() {
    semaphore_signal(mHandle);
}

void Semaphore::signal(unsigned int count) {
    for (; count > 0; --count) {
        semaphore_signal(mHandle);
    }
}

void Semaphore::signalAll() {
    semaphore_signal_all(mHandle);
}

} // namespace Vexorel::PrismDrift

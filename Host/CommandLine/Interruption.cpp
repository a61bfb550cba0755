#include "Host/CommandLine/Interruption.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <semaphore.h>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> received = 0;
sem_t wakeUp; // of the thread that watches: neither side has a call that may fail

void handle(int signal) {
    int none = 0;
    if (!received.compare_exchange_strong(none, signal)) { // the second one; maybe another signal
        std::signal(signal, SIG_DFL);
        raise(signal);
        return;
    }
    const int before = errno;
    sem_post(&wakeUp);
    errno = before;
}

void install(void (*handler)(int), int flags) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    for (const int signal : signals) {
        struct sigaction old = {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler != SIG_IGN) { // as under nohup
            sigaction(signal, &action, nullptr);
        }
    }
}

} // namespace

FirstSignalKept::FirstSignalKept() {
    received = 0;
    sem_init(&wakeUp, 0, 0);
    install(&handle, SA_RESTART | SA_NODEFER);
}

FirstSignalKept::~FirstSignalKept() {
    install(SIG_DFL, 0);
}

int FirstSignalKept::signal() {
    return received;
}

Interruption::Interruption(const FirstSignalKept& /*kept*/, std::function<void()> onSignal)
    : mOnSignal(std::move(onSignal)), mWatch([this] {
          while (sem_wait(&wakeUp) != 0) { // a signal got in between
          }
          if (received != 0) {
              mOnSignal();
          }
      }) {}

Interruption::~Interruption() {
    sem_post(&wakeUp);
    mWatch.join();
}

} // namespace Vexorel::PrismDrift::CommandLine

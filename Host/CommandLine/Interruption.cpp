#include "Host/CommandLine/Interruption.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;
std::array<int, 2> pipeEnds = {-1, -1}; // from the handler to the thread

void handle(int signal) {
    if (received != 0) { // the second one; it may be another signal
        std::signal(signal, SIG_DFL);
        raise(signal);
        return;
    }
    const int before = errno;
    received = signal;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
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

Interruption::Interruption(std::function<void()> onSignal) : mOnSignal(std::move(onSignal)) {
    if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0) {
        return;
    }
    mWatch = std::thread([this] {
        char byte = 0;
        ssize_t count = 0;
        do {
            count = read(pipeEnds[0], &byte, 1);
        } while (count < 0 && errno == EINTR);
        if (byte == 1) {
            mOnSignal();
        }
    });
    install(&handle, SA_RESTART | SA_NODEFER);
}

Interruption::~Interruption() {
    install(SIG_DFL, 0);
    if (mWatch.joinable()) {
        const char byte = 0;
        [[maybe_unused]] const ssize_t written = write(pipeEnds[1], &byte, 1);
        mWatch.join();
        close(pipeEnds[0]);
        close(pipeEnds[1]);
    }
}

int Interruption::signal() {
    return received;
}

} // namespace Vexorel::PrismDrift::CommandLine

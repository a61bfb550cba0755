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
std::array<int, 2> ends = {-1, -1}; // of the pipe from the handler to the watching thread

void handle(int signal) {
    if (received != 0) { // the second, which need not be the same
        std::signal(signal, SIG_DFL);
        raise(signal);
        return;
    }
    const int before = errno;
    received = signal;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(ends[1], &byte, 1);
    errno = before;
}

void install(void (*handler)(int), int flags) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    for (const int signal : signals) {
        struct sigaction old = {};
        sigaction(signal, nullptr, &old);
        if (old.sa_handler != SIG_IGN) { // "nohup" and the like keep their way
            sigaction(signal, &action, nullptr);
        }
    }
}

} // namespace

Interruption::Interruption(std::function<void()> told) : mTold(std::move(told)) {
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return;
    }
    mWatch = std::thread([this] {
        char byte = 0;
        ssize_t count = 0;
        do {
            count = read(ends[0], &byte, 1);
        } while (count < 0 && errno == EINTR);
        if (byte == 1) {
            mTold();
        }
    });
    install(&handle, SA_RESTART | SA_NODEFER);
}

Interruption::~Interruption() {
    install(SIG_DFL, 0);
    if (mWatch.joinable()) {
        const char byte = 0;
        [[maybe_unused]] const ssize_t written = write(ends[1], &byte, 1);
        mWatch.join();
        close(ends[0]);
        close(ends[1]);
    }
}

int Interruption::signal() {
    return received;
}

} // namespace Vexorel::PrismDrift::CommandLine

#pragma once

/// Ctrl-C and its like, for a program that wants to finish what it has begun.

#include <functional>
#include <thread>

namespace Vexorel::PrismDrift::CommandLine {

/// While one lives, the first SIGINT, SIGTERM or SIGHUP doesn't end the program but is remembered;
/// the second one ends it. The signals may arrive on any thread; reads and writes that they
/// interrupt are restarted. One at a time.
class FirstSignalKept {
public:
    FirstSignalKept();
    FirstSignalKept(const FirstSignalKept&) = delete;
    FirstSignalKept& operator=(const FirstSignalKept&) = delete;
    ~FirstSignalKept();

    /// The one that came, 0 for none.
    static int signal();
};

/// While one lives, `onSignal` is called, once, on a thread of its own, for the signal that is
/// kept, whether it comes or has come. One at a time.
class Interruption {
public:
    Interruption(const FirstSignalKept& /*kept*/, std::function<void()> onSignal);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

private:
    std::function<void()> mOnSignal;
    std::thread mWatch;
};

} // namespace Vexorel::PrismDrift::CommandLine

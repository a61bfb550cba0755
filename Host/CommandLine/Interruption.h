#pragma once

/// Ctrl-C and its like, for a program that wants to finish what it has begun.

#include <functional>
#include <thread>

namespace Vexorel::PrismDrift::CommandLine {

/// While one lives, the first SIGINT, SIGTERM or SIGHUP doesn't end the program but has `onSignal`
/// called, once, on a thread of its own. The second one ends the program. The signals may arrive on
/// any thread; reads and writes that they interrupt are restarted. One at a time.
class Interruption {
public:
    explicit Interruption(std::function<void()> onSignal);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /// The first signal that came, 0 for none.
    static int signal();

private:
    std::function<void()> mOnSignal;
    std::thread mWatch;
};

} // namespace Vexorel::PrismDrift::CommandLine

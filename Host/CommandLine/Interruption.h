#pragma once

/// Ctrl-C and its like, told to a program that wants to end well.

#include <functional>
#include <thread>

namespace Vexorel::PrismDrift::CommandLine {

/// While one lives, the first SIGINT, SIGTERM or SIGHUP doesn't end the program but has `told`
/// called, once, on a thread of its own; the second ends it. Threads that are started before it
/// would be interrupted in its stead: it should come first.
class Interruption {
public:
    explicit Interruption(std::function<void()> told);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

    /// The signal that came, 0 for none.
    static int signal();

private:
    std::function<void()> mTold;
    std::thread mWatch;
};

} // namespace Vexorel::PrismDrift::CommandLine

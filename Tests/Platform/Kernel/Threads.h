#pragma once

/// What tests of blocking need: threads that are known to sleep, and an end to a test that hangs.

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <utility>

/// Ends the program when its scope lasts longer than that: a fault fails a test, it doesn't hang.
class TimeLimit {
public:
    explicit TimeLimit(unsigned int seconds = 60) { alarm(seconds); }
    ~TimeLimit() { alarm(0); }
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;
};

/// Whether `condition` comes true within ten seconds.
template <typename Condition>
bool comesTrue(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return true;
}

/// A thread that makes one call, expected to block, and tells when it has come back.
class Caller {
public:
    template <typename Call>
    explicit Caller(Call call)
        : mThread([this, call = std::move(call)] {
              mId = static_cast<pid_t>(syscall(SYS_gettid));
              call();
              mReturned = true;
          }) {}
    ~Caller() { mThread.join(); }
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    bool hasReturned() const { return mReturned; }
    bool returns() const {
        return comesTrue([this] { return hasReturned(); });
    }
    /// Whether the thread comes to sleep inside its call.
    bool blocks() const {
        return comesTrue([this] { return mId != 0 && state() == 'S'; }) && !hasReturned();
    }
    void interrupt(int signal) { pthread_kill(mThread.native_handle(), signal); }

private:
    char state() const {
        std::ifstream file("/proc/self/task/" + std::to_string(mId) + "/stat");
        const std::string text(std::istreambuf_iterator<char>(file), {});
        const std::size_t afterName = text.rfind(')');
        return afterName + 2 < text.size() ? text[afterName + 2] : '?';
    }

    std::atomic<pid_t> mId{0};
    std::atomic<bool> mReturned{false};
    std::thread mThread; // last: it uses the others
};

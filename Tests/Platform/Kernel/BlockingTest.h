#pragma once

/// The fixture for tests of calls that block.

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <future>
#include <string>
#include <utility>

/// Ends the program after a quarter of a minute, so that a lost wake-up fails.
class BlockingTest : public testing::Test {
protected:
    BlockingTest() { alarm(15); }

    /// Makes a call on a thread of its own, and returns when that thread sleeps.
    template <typename Call>
    static auto sleepIn(Call call) {
        std::promise<long> started;
        std::future<long> thread = started.get_future();
        const auto run = [call](std::promise<long> id) {
            id.set_value(syscall(SYS_gettid));
            return call();
        };
        auto result = std::async(std::launch::async, run, std::move(started));
        const std::string file = "/proc/self/task/" + std::to_string(thread.get()) + "/stat";
        std::string text, state;
        while (state != "S" &&
               result.wait_for(std::chrono::milliseconds(1)) == std::future_status::timeout) {
            std::ifstream(file) >> text >> text >> state;
        }
        EXPECT_EQ(state, "S") << "the call came back";
        return result;
    }
};

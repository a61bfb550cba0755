#pragma once

/// A strict host for tests. It records every call of the effect in order and can fail at any of
/// them.

#include "Platform/Effect/Suites.h"
#include "Support/World.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Testing {

/// The effect's parameters by index, in the user's units: 1 the choice, 2 the angle in degrees, 3
/// the distance, 5 to 7 the scales and 10 to 12 the lightness in percent.
using Settings = std::array<double, 13>;

/// One effect instance. Its callbacks find it through the thread that runs the command, and through
/// effect_ref where the interface hands that over; the two have to agree. Several objects may run
/// commands on several threads at once.
///
/// What a test gets to see in `calls`: "acquire NAME VERSION", "release NAME VERSION",
/// "checkout I", "checkin I" ("checkin -" for a parameter that was not checked out), "add ID",
/// "new BYTES", "lock", "unlock", "dispose", "iterate". A breach of the interface's rules (a record
/// not cleared, a handle used after its end, anything held at the host's end) fails the test.
class TestHost {
public:
    TestHost();
    ~TestHost() { EXPECT_EQ(held, 0); }
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;

    /// Runs a command of the effect that is linked in.
    PF_Err command(int cmd, PF_LayerDef* input = nullptr, PF_LayerDef* output = nullptr);
    PF_Err render(World8& input, World8& output) {
        return command(PF_Cmd_RENDER, input.layer(), output.layer());
    }

    /// Lets `work` use inData() outside of a command, as the calling thread's host.
    void serve(const std::function<void()>& work);

    /// Records a call and returns its result. If it succeeds the effect holds `gained` more things.
    PF_Err note(const std::string& call, int gained = 0);

    PF_InData inData{};
    PF_OutData outData{};

    /// What the checkouts give.
    Settings settings{0, 1, 0, 0, 0, 100, 100, 100};

    /// The calls that fail, with what they give (for a call that gives a pointer: null).
    std::map<std::string, PF_Err> failing;
    /// Called at each call, after it was written down; may throw or bring another command.
    std::function<void(const std::string& call)> onCall;

    std::vector<std::string> calls;
    std::vector<PF_ParamDef> added;
    const PF_ParamDef* checkedOut = nullptr; ///< the record of the last checkout that worked

    /// What must be current on the thread after every command; not checked while empty.
    std::vector<std::uintptr_t> current;

    /// Suites, handles and locks that were not given back.
    int held = 0;
};

} // namespace Testing

#pragma once

/// A strict host for tests: it writes down every call that an effect makes, in order, and can be
/// told to fail at any of them.

#include "Platform/Effect/Suites.h"
#include "Support/World.h"

#include <array>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Testing {

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
    ~TestHost();
    TestHost(const TestHost&) = delete;
    TestHost& operator=(const TestHost&) = delete;

    /// Runs a command of the effect that is linked in.
    PF_Err command(PF_Cmd cmd, PF_LayerDef* input = nullptr, PF_LayerDef* output = nullptr);
    PF_Err render(World8& input, World8& output) {
        return command(PF_Cmd_RENDER, input.layer(), output.layer());
    }

    /// Lets `work` use inData() outside of a command, as the calling thread's host.
    void serve(const std::function<void()>& work);

    PF_InData inData{};
    PF_OutData outData{};

    /// What the checkouts give, by index: the choice, the angle in 16.16 fixed point, sliders.
    std::array<double, 14> values{};

    /// The calls that fail, with what they give (for a call that gives a pointer: null).
    std::map<std::string, PF_Err> failing;
    /// Called at each call, after it was written down; may throw or bring another command.
    std::function<void(const std::string& call)> onCall;

    std::vector<std::string> calls;
    std::vector<PF_ParamDef> added;

    /// Suites, handles and locks that were not given back.
    int held = 0;

private:
    friend struct Callbacks;
    PF_Err note(const std::string& call);

    PF_UtilCallbacks mUtils{};
    SPBasicSuite mBasic{};
    const PF_ParamDef* mCheckedOut = nullptr; ///< the record of the last checkout that worked
};

} // namespace Testing

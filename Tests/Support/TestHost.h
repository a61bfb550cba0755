#pragma once

/// A strict host for tests: it writes down every call that an effect makes, in order, and can be
/// told to fail at any of them.

#include "Platform/Effect/Suites.h"
#include "Support/World.h"

#include <array>
#include <functional>
#include <set>
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
/// not cleared, a handle used after its end, a suite released that isn't held) fails the test.
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

    // What a checkout gives.
    std::array<double, 14> sliders{};
    std::int32_t angle = 0; ///< 16.16 fixed point
    std::int32_t choice = 1;

    // What fails. Positions count from 1 within a command; 0 is never.
    std::set<std::string> refusedSuites;
    int failAdd = 0, failCheckout = 0, failCheckin = 0;
    PF_Err failure = 7;
    PF_Err iterateResult = 0;
    bool noHandle = false;
    bool noLock = false;
    /// Called at each call, after it was written down; may throw or bring another command.
    std::function<void(const std::string& call)> onCall;

    std::vector<std::string> calls;
    std::vector<PF_ParamDef> added;

    /// Nothing may be left held when the host goes.
    int suitesHeld = 0, handlesHeld = 0, handlesLocked = 0;

private:
    friend struct Callbacks;
    void note(const std::string& call);

    PF_UtilCallbacks mUtils{};
    SPBasicSuite mBasic{};
    int mAdds = 0, mCheckouts = 0, mCheckins = 0;
    const PF_ParamDef* mCheckedOut = nullptr; ///< the record of the last checkout that worked
    int mCheckedOutIndex = 0;
};

} // namespace Testing

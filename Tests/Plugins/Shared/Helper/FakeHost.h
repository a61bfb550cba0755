#pragma once

/// A host for the tests of the helpers: it offers what a test puts in, refuses what a test says,
/// and keeps accounts. One at a time, since a host's functions carry no context.

#include "Platform/Effect/Suites.h"

#include <map>
#include <string>
#include <vector>

class FakeHost {
public:
    FakeHost();
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    /// What AcquireSuite gives for "NAME VERSION": the result, and the pointer, which is left alone
    /// where `fills` is false.
    struct Answer {
        void* suite = nullptr;
        std::int32_t result = 0;
        bool fills = true;
    };
    std::map<std::string, Answer> suites;

    /// Acquisitions that got a pointer with result 0, less the releases, over all suites.
    int held = 0;

    /// What was called, in order: "acquire NAME VERSION", "release NAME VERSION", …
    std::vector<std::string> calls;

    SPBasicSuite basic;
    PF_UtilCallbacks utils{};
    PF_InData in{};
    PF_OutData out{};
};

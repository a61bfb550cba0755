#include "Shared/Helper/SuiteScoper.h"

#include "FakeHost.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <optional>
#include <string>
#include <type_traits>

namespace Vexorel::PrismDrift {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

using Scoper = SuiteScoper<PF_ANSICallbacksSuite1>;

static_assert(!std::is_copy_constructible_v<Scoper> && !std::is_copy_assignable_v<Scoper>);

constexpr std::int32_t kShown = 1 | PF_OutFlag_DISPLAY_ERROR_MESSAGE;

class SuiteTest : public testing::Test {
protected:
    SuiteTest() {
        host.suites["Paint 3"] = {&table};
        host.suites["Refused 3"] = {&table, 5};
        host.suites["Absent 3"] = {nullptr, 5, false};
        host.suites["Null 3"] = {nullptr, 0};
        for (const char* name : {"DRAWBOT Draw Suite 1", "DRAWBOT Supplier Suite 1",
                                 "DRAWBOT Surface Suite 2", "DRAWBOT Path Suite 1"}) {
            host.suites[name] = {&tables[drawing++]};
        }
    }

    void expectUntouched() {
        EXPECT_EQ(host.out.out_flags, 1);
        EXPECT_STREQ(host.out.return_msg, "");
    }
    void expectShown(const std::string& message) {
        EXPECT_EQ(host.out.out_flags, kShown);
        EXPECT_EQ(host.out.return_msg, message);
    }

    FakeHost host;
    PF_ANSICallbacksSuite1 table{};
    int tables[4] = {};
    int drawing = 0;
};

TEST_F(SuiteTest, ScoperHoldsASuiteForItsScope) {
    for (bool direct : {false, true}) {
        host.calls.clear();
        {
            std::optional<Scoper> suite;
            direct ? suite.emplace(&host.basic, "Paint", 3)
                   : suite.emplace(&host.in, "Paint", 3, &host.out);
            EXPECT_EQ(suite->get(), &table);
            EXPECT_EQ(&(*suite)->sprintf, &table.sprintf);
            EXPECT_EQ(host.held, 1);
        }
        EXPECT_THAT(host.calls, ElementsAre("acquire Paint 3", "release Paint 3"));
        EXPECT_EQ(host.held, 0);
    }
    EXPECT_THROW(
        {
            Scoper suite(&host.in, "Paint", 3);
            throw 4;
        },
        int);
    EXPECT_EQ(host.held, 0);
    { const Scoper none(&host.basic, "Null", 3); } // a success without a suite: nothing to release
    EXPECT_EQ(host.calls.back(), "acquire Null 3");
    expectUntouched();
}

TEST_F(SuiteTest, ScoperThrowsAndReleasesNothingWhereTheHostRefuses) {
    const auto thrown = [](auto&&... arguments) {
        try {
            Scoper suite(arguments...);
        } catch (int code) {
            return code;
        }
        return 0;
    };
    for (const char* name : {"Refused", "Absent", "Unknown"}) {
        EXPECT_EQ(thrown(&host.in, name, 3), 13);
        EXPECT_EQ(thrown(&host.basic, name, 3), 13);
        EXPECT_THAT(host.calls.back(), StartsWith("acquire"));
        expectUntouched();
    }
    EXPECT_EQ(thrown(static_cast<SPBasicSuite*>(nullptr), "Paint", 3), 13);
    EXPECT_EQ(thrown(&host.in, "Paint", 4, &host.out), 13);
    expectShown("Not able to acquire AEFX Suite.");
    EXPECT_EQ(thrown(&host.in, "Paint", 4, &host.out, "100% gone"), 13);
    expectShown("100% gone");
}

struct Acquisition {
    const char* label;
    const char* suite;
    bool hasBasic;
    const char* errorText;
    PF_Err result;
    const char* message;
};

class AcquireSuiteTest : public SuiteTest, public testing::WithParamInterface<Acquisition> {};

TEST_P(AcquireSuiteTest, GivesACodeAndAMessage) {
    const Acquisition& row = GetParam();
    host.in.pica_basicP = row.hasBasic ? &host.basic : nullptr;
    void* suite = nullptr;
    EXPECT_EQ(AcquireSuite(&host.in, &host.out, row.suite, 3, row.errorText, &suite), row.result);
    EXPECT_EQ(suite, row.result == 0 ? &table : nullptr);
    row.result == 0 ? expectUntouched() : expectShown(row.message);
}

INSTANTIATE_TEST_SUITE_P(
    , AcquireSuiteTest,
    testing::Values(Acquisition{"Given", "Paint", true, "text", 0, ""},
                    Acquisition{"GivenWithAnError", "Refused", true, "text", 0, ""},
                    Acquisition{"NullWithSuccess", "Null", true, nullptr, 516,
                                "Not able to acquire AEFX Suite-Null-3"},
                    Acquisition{"Unknown", "No", true, nullptr, 516,
                                "Not able to acquire AEFX Suite-No-3"},
                    Acquisition{"UnknownWithText", "No", true, "Needs %s", 516, "Needs %s"},
                    Acquisition{"NoBasicSuite", "Paint", false, nullptr, 516,
                                "Not able to acquire AEFX Suite-Paint-3"},
                    Acquisition{"NoBasicSuiteWithText", "Paint", false, "Too old", 516, "Too old"}),
    [](const auto& row) { return row.param.label; });

TEST_F(SuiteTest, MessagesAreCutToTheirField) {
    const std::string longText(5000, 'x');
    void* suite = nullptr;
    for (const char* text : {static_cast<const char*>(nullptr), longText.c_str()}) {
        EXPECT_EQ(AcquireSuite(&host.in, &host.out, longText.c_str(), 3, text, &suite), 516);
        EXPECT_EQ(std::string(host.out.return_msg).size(), sizeof(host.out.return_msg) - 1);
    }
    const std::string fits(sizeof(host.out.return_msg) - 1, 'y');
    host.in.pica_basicP = nullptr;
    EXPECT_EQ(ReleaseSuite(&host.in, &host.out, "Paint", 3, fits.c_str()), 516);
    expectShown(fits);
}

TEST_F(SuiteTest, ReleaseSuiteLooksAtTheBasicSuiteOnly) {
    EXPECT_EQ(ReleaseSuite(&host.in, &host.out, "Paint", 3, "text"), 0);
    EXPECT_THAT(host.calls, ElementsAre("release Paint 3"));
    expectUntouched();
    host.in.pica_basicP = nullptr;
    EXPECT_EQ(ReleaseSuite(&host.in, &host.out, "Paint", 3, nullptr), 516);
    expectShown("Not able to release AEFX Suite.");
    EXPECT_EQ(ReleaseSuite(&host.in, &host.out, "Paint", 3, "Lost"), 516);
    expectShown("Lost");
}

TEST_F(SuiteTest, DrawingSuitesComeAndGoInTheOrderOfTheirRecord) {
    DRAWBOT_Suites suites{};
    EXPECT_EQ(AcquireDrawbotSuites(&host.in, &host.out, &suites), 0);
    EXPECT_EQ(suites.draw, &tables[0]);
    EXPECT_EQ(suites.supplier, &tables[1]);
    EXPECT_EQ(suites.surface, &tables[2]);
    EXPECT_EQ(suites.path, &tables[3]);
    static_assert(offsetof(DRAWBOT_Suites, path) == 3 * sizeof(void*));
    EXPECT_EQ(host.held, 4);
    EXPECT_EQ(ReleaseDrawbotSuites(&host.in, &host.out), 0);
    EXPECT_EQ(host.held, 0);
    EXPECT_THAT(host.calls,
                ElementsAre("acquire DRAWBOT Draw Suite 1", "acquire DRAWBOT Supplier Suite 1",
                            "acquire DRAWBOT Surface Suite 2", "acquire DRAWBOT Path Suite 1",
                            "release DRAWBOT Draw Suite 1", "release DRAWBOT Supplier Suite 1",
                            "release DRAWBOT Surface Suite 2", "release DRAWBOT Path Suite 1"));
    expectUntouched();
}

TEST_F(SuiteTest, DrawingSuitesStopAtTheFirstThatFails) {
    host.suites.erase("DRAWBOT Surface Suite 2");
    DRAWBOT_Suites suites{};
    EXPECT_EQ(AcquireDrawbotSuites(&host.in, &host.out, &suites), 516);
    expectShown("Not able to acquire AEFX Suite-DRAWBOT Surface Suite-2");
    EXPECT_EQ(host.held, 2); // what was acquired stays so
    EXPECT_EQ(suites.supplier, &tables[1]);
    EXPECT_EQ(suites.path, nullptr);
}

TEST_F(SuiteTest, DrawingSuitesReportWhatIsMissing) {
    EXPECT_EQ(AcquireDrawbotSuites(&host.in, &host.out, nullptr), 514);
    expectShown("NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
    EXPECT_THAT(host.calls, IsEmpty());
    host.in.pica_basicP = nullptr;
    EXPECT_EQ(ReleaseDrawbotSuites(&host.in, &host.out), 0);
    expectShown("Not able to release AEFX Suite.");
}

} // namespace
} // namespace Vexorel::PrismDrift

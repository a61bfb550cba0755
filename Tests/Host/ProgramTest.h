#pragma once

#include "Tests/Host/ScratchFolder.h"

#include <fstream>
#include <gmock/gmock.h>
#include <sstream>
#include <sys/wait.h>

/// What a command gave back.
struct Result {
    int status;
    std::string output, errors;
};

/// The program as its users meet it: run by a shell in a folder of the test's own. In the commands,
/// $PROGRAM is the program that was built, and $FAKE the option that loads the plug-in of the tests
/// instead of the real one; "$FAILING FAIL_CALLS=write $PROGRAM" has calls fail (see
/// FailCalls.cpp), "$DEVICES FAKE_NODE=/dev/null $PROGRAM" has EGL list a device (see
/// FakeDevices.cpp); $FF is ffmpeg, and "$SOURCE=s=48x32" gives it a moving picture.
class ProgramTest : public testing::Test {
protected:
    std::filesystem::path path(const std::string& name) const { return mScratch.path() / name; }

    static std::string contents(const std::filesystem::path& file) {
        std::ostringstream text;
        text << std::ifstream(file, std::ios::binary).rdbuf();
        return text.str();
    }

    Result run(const std::string& command) const {
        const std::string whole =
            "export PROGRAM='" PRISMDRIFT_PROGRAM "' FAKE='--plugin " FAKE_EFFECT_FILE "' "
            "FAILING='" +
            preloading(FAIL_CALLS_FILE) + "' DEVICES='" +
            // The leak checker crashes at the end of a program that had two layers make contexts.
            preloading(FAKE_DEVICES_FILE, ":detect_leaks=0") +
            "' "
            "FF='ffmpeg -v error -nostdin -y'; export SOURCE=\"$FF -f lavfi -i testsrc2\"; cd '" +
            mScratch.path().string() + "' && { " + command + "\n} >.out 2>.err </dev/null";
        std::ofstream(path(".command")) << whole;
        const int status = std::system(("bash '" + path(".command").string() + "'").c_str());
        Result result{WEXITSTATUS(status), contents(path(".out")), contents(path(".err"))};
        for (const char* own : {".out", ".err", ".command"}) {
            std::filesystem::remove(path(own));
        }
        return result;
    }

    /// The same for a command that a test needs done.
    std::string output(const std::string& command) const {
        const Result result = run(command);
        EXPECT_EQ(result.status, 0) << command << "\n" << result.errors;
        return result.output;
    }

    /// The names in the folder, in order.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(mScratch.path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    static std::string preloading(const std::string& library, const std::string& options = "") {
        return "env ASAN_OPTIONS=verify_asan_link_order=0:alloc_dealloc_mismatch=0" + options +
               " LD_PRELOAD=" + library;
    }

    ScratchFolder mScratch;
};

/// A test whose programs draw with the renderer that is its parameter, each in turn.
template <typename Fixture>
class WithRenderer : public Fixture, public testing::WithParamInterface<const char*> {
protected:
    WithRenderer() { setenv("PRISMDRIFT_RENDERER", GetParam(), 1); }
    ~WithRenderer() override { unsetenv("PRISMDRIFT_RENDERER"); }
};

inline const auto eachRenderer = testing::Values("gl", "software");

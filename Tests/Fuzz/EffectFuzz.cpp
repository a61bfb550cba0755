// The effect in a host that asks for anything in any order, and fails where it can.

#include "Support/GLWatch.h"
#include "Support/HostContexts.h"
#include "Support/Reference.h"
#include "Tests/Fuzz/Target.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

using namespace Testing;

namespace {

constexpr int mostCommands = 4;

/// A side of a picture: mostly a small one, so that frames are quick.
std::int32_t sideFrom(Fuzz::Values& values) {
    static const std::int32_t strange[] = {0, -1, INT32_MIN, INT32_MAX, 65535, 65536, 16385};
    const auto byte = values.take<std::uint8_t>();
    return byte < std::size(strange) ? strange[byte] : byte % 23 + 1;
}

/// A picture in a block of exactly the bytes that its rows take, so that the sanitizer sees each
/// step beyond them.
class Pixels {
public:
    Pixels(std::int32_t width, std::int32_t height, Fuzz::Values& values) {
        const std::int64_t tight = std::int64_t{4} * width;
        const std::int64_t some = values.take<std::uint8_t>();
        const std::int64_t strides[] = {tight, tight + 4 * some, tight + some, -tight - 4 * some,
                                        tight - some};
        const std::int64_t stride = strides[values.take<std::uint8_t>() % std::size(strides)];
        const bool isSmall = width > 0 && height > 0 && width < 70000 && height < 70000 &&
                             std::int64_t{width} * height < 70000;
        const std::int64_t above = isSmall ? std::abs(stride) * (height - 1) : 0;
        mBytes.resize(static_cast<std::size_t>(isSmall ? above + tight : 4));
        for (std::size_t i = 0; i < mBytes.size(); ++i) {
            mBytes[i] = static_cast<std::uint8_t>(i * i * 7 + i / 5 + std::size_t(some)) | 1U;
        }
        std::uint8_t* const first = mBytes.data() + (stride < 0 ? above : 0);
        mLayer = {first, static_cast<std::int32_t>(stride), width, height};
        mHasRows = isSmall && std::abs(stride) >= tight && stride % 4 == 0;
    }

    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    PF_LayerDef* layer() { return &mLayer; }
    const std::vector<std::uint8_t>& bytes() const { return mBytes; }
    bool hasRows() const { return mHasRows; } ///< each of its own pixels

    PF_Pixel8 at(std::int32_t x, std::int32_t y) const {
        PF_Pixel8 pixel{};
        std::memcpy(&pixel, row(y) + std::ptrdiff_t{4} * x, sizeof pixel);
        return pixel;
    }

    /// What the bytes are once these of the picture are written into the bytes from before.
    std::vector<std::uint8_t> written(std::vector<std::uint8_t> before, std::int32_t width,
                                      std::int32_t height) const {
        for (std::int32_t y = 0; y < height && width > 0; ++y) {
            std::copy_n(row(y), 4 * width, before.begin() + (row(y) - mBytes.data()));
        }
        return before;
    }

    /// A copy in the form that the reference takes.
    World8 world() const {
        World8 copy(mLayer.width, mLayer.height);
        for (std::int32_t y = 0; y < mLayer.height; ++y) {
            for (std::int32_t x = 0; x < mLayer.width; ++x) {
                copy.at(x, y) = at(x, y);
            }
        }
        return copy;
    }

private:
    const std::uint8_t* row(std::int32_t y) const {
        return static_cast<const std::uint8_t*>(mLayer.data) + std::ptrdiff_t{y} * mLayer.rowbytes;
    }

    std::vector<std::uint8_t> mBytes;
    PF_LayerDef mLayer{};
    bool mHasRows = false;
};

/// Any number, the strange ones included, or one that the parameter allows.
double numberFrom(Fuzz::Values& values, double most) {
    using Limits = std::numeric_limits<double>;
    static const double strange[] = {Limits::quiet_NaN(),
                                     Limits::infinity(),
                                     -Limits::infinity(),
                                     Limits::denorm_min(),
                                     1e-39,
                                     -1e-45,
                                     Limits::max(),
                                     -1e300,
                                     -0.0};
    const auto byte = values.take<std::uint8_t>();
    if (byte < std::size(strange)) {
        return strange[byte];
    }
    return byte == 255 ? values.take<double>() : (byte / 127.0 - 1.0) * most;
}

Settings settingsFrom(Fuzz::Values& values) {
    Settings settings{0, 1, 0, 0, 0, 100, 100, 100};
    const auto given = values.take<std::uint16_t>();
    for (std::size_t i = 1; i < settings.size(); ++i) {
        if ((given >> i & 1U) == 0) {
            continue;
        }
        if (i <= 2) { // of the choice and the angle any 32 bits may come
            settings.at(i) = values.take<std::int32_t>() / (i == 1 ? 1.0 : 65536.0);
        } else {
            settings.at(i) = numberFrom(values, i == 3 ? 30.0 : 100.0);
        }
    }
    return settings;
}

/// Whether the reference knows the values: those that a host's controls can give.
bool isUsual(const Settings& settings) {
    bool isUsual = settings[1] >= 1 && settings[1] <= 6 && std::abs(settings[3]) <= 1000;
    for (std::size_t i = 5; i < settings.size(); ++i) {
        isUsual = isUsual && (i < 8 ? settings.at(i) == 0 || settings.at(i) >= 1 : true) &&
                  std::abs(settings.at(i)) <= (i < 8 ? 200.0 : 100.0) &&
                  (settings.at(i) == 0 || std::abs(settings.at(i)) > 0.01);
    }
    return isUsual;
}

PF_Err noPixel(PF_LayerDef* /*world*/, void* /*pixels*/, PF_Pixel8** pixel) {
    *pixel = nullptr;
    return PF_Err_NONE;
}

PF_Err failingPixel(PF_LayerDef* /*world*/, void* /*pixels*/, PF_Pixel8** /*pixel*/) {
    return 77;
}

/// Lets some call of the host fail, or throw. The result is the code that the effect may give.
PF_Err failSomewhere(Fuzz::Values& values, TestHost& host, PF_UtilCallbacks& utils) {
    static const char* const calls[] = {"acquire PF Handle Suite 2",
                                        "lock",
                                        "checkout 1",
                                        "checkout 2",
                                        "checkout 7",
                                        "checkin 12",
                                        "checkin -",
                                        "checkin 3",
                                        "acquire PF ANSI Suite 1",
                                        "add 1",
                                        "add 9",
                                        "new 4"};
    const auto byte = values.take<std::uint8_t>();
    const PF_Err code = values.take<std::int8_t>();
    host.failing.clear();
    host.onCall = nullptr;
    if (byte < std::size(calls) && code != 0) {
        host.failing[calls[byte]] = code;
        return code;
    }
    if (byte < 2 * std::size(calls)) {
        const std::string at = calls[byte % std::size(calls)];
        host.onCall = [at](const std::string& call) {
            if (call == at) {
                throw std::runtime_error("from the host");
            }
        };
    }
    utils.get_pixel_data8 = byte == 100   ? noPixel
                            : byte == 101 ? failingPixel
                                          : utils.get_pixel_data8;
    host.inData.pica_basicP = byte == 102 ? nullptr : host.inData.pica_basicP;
    return PF_Err_NONE;
}

void expectStatus(PF_Err status, PF_Err code) {
    EXPECT_TRUE(status == PF_Err_NONE || status == PF_Err_BAD_CALLBACK_PARAM || status == code)
        << status << ", not " << code;
}

void renderFrom(Fuzz::Values& values, TestHost& host, PF_Err code) {
    const std::int32_t width = sideFrom(values);
    const std::int32_t height = sideFrom(values);
    const bool isSame = values.take<std::uint8_t>() % 4 != 0;
    Pixels input(width, height, values);
    constexpr std::int32_t most = 200; // as much memory as the output says, always
    Pixels output(std::min(isSame ? width : sideFrom(values), most),
                  std::min(isSame ? height : sideFrom(values), most), values);
    host.settings = settingsFrom(values);
    host.inData.downsample_x.den =
        values.take<std::uint8_t>() % 4 == 1 ? values.take<std::uint32_t>() : 1;
    const std::vector<std::uint8_t> before = output.bytes();
    const std::vector<std::uint8_t> inputBefore = input.bytes();
    const PF_Err status = host.command(PF_Cmd_RENDER, input.layer(), output.layer());
    expectStatus(status, code);
    EXPECT_EQ(input.bytes(), inputBefore);
    const std::int32_t columns = std::clamp(output.layer()->width, 0, width);
    const std::int32_t rows = std::clamp(output.layer()->height, 0, height);
    if (status == PF_Err_BAD_CALLBACK_PARAM) {
        EXPECT_EQ(output.bytes(), before);
        return;
    }
    if (!input.hasRows() || !output.hasRows()) {
        return;
    }
    for (std::int32_t y = 0; y < rows; ++y) {
        for (std::int32_t x = 0; x < columns; ++x) {
            ASSERT_EQ(output.at(x, y).alpha, input.at(x, y).alpha) << x << ", " << y;
        }
    }
    if (status == PF_Err_NONE && isUsual(host.settings) && host.inData.downsample_x.den == 1) {
        World8 source = input.world();
        World8 actual = output.world();
        expectPixels(host, source, actual);
    }
    EXPECT_EQ(output.bytes(), output.written(before, columns, rows)) << "beyond the picture";
}

void runCommand(Fuzz::Values& values, TestHost& host) {
    SPBasicSuite* const suites = host.inData.pica_basicP;
    PF_UtilCallbacks* const utils = host.inData.utils;
    PF_UtilCallbacks changed = *utils;
    host.inData.utils = &changed;
    const auto command = values.take<std::uint8_t>();
    const PF_Err code = failSomewhere(values, host, changed);
    static const PF_Cmd others[] = {PF_Cmd_ABOUT, PF_Cmd_GLOBAL_SETUP, PF_Cmd_GLOBAL_SETDOWN,
                                    PF_Cmd_PARAMS_SETUP};
    if (command < std::size(others)) {
        expectStatus(host.command(others[command]), code);
    } else if (command == 4) {
        const auto unknown = values.take<std::int32_t>();
        if (unknown != PF_Cmd_RENDER) {
            expectStatus(host.command(unknown), code);
        }
    } else {
        renderFrom(values, host, code);
    }
    host.inData.utils = utils;
    host.inData.pica_basicP = suites;
    EXPECT_EQ(host.held, 0);
}

/// The effect is set up once for many inputs, as that takes a while. An input may take it down.
class Session {
public:
    Session() {
        TestHost host;
        expectSoundFrame(host);
        mNames = GLWatch::sharedNames();
    }
    ~Session() { TestHost().command(PF_Cmd_GLOBAL_SETDOWN); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Whatever went before, the next frame is right, and no object of GL is left.
    void expectSound(TestHost& host) const {
        expectSoundFrame(host);
        EXPECT_EQ(GLWatch::sharedNames(), mNames);
        GLWatch::expectNoErrors();
    }

private:
    static void expectSoundFrame(TestHost& host) {
        host.failing.clear();
        host.onCall = nullptr;
        host.settings = {0, 3, 25, 2, 0, 90, 100, 110};
        host.inData.downsample_x.den = 3;
        Fuzz::Values none(nullptr, 0);
        Pixels input(7, 5, none);
        Pixels output(7, 5, none);
        EXPECT_EQ(host.command(PF_Cmd_GLOBAL_SETUP), 0);
        EXPECT_EQ(host.command(PF_Cmd_RENDER, input.layer(), output.layer()), 0);
        World8 source = input.world();
        World8 actual = output.world();
        expectPixels(host, source, actual);
    }

    GLWatch mWatch;
    int mNames;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Session session;
    Fuzz::Values values(data, size);
    TestHost host;
    std::unique_ptr<HostContext> context;
    const auto kind = values.take<std::uint8_t>();
    if (kind == 1 || kind == 2) {
        std::string whyNot;
        context = makeHostContext(kind == 1 ? HostApi::eglDesktop : HostApi::eglEmbedded, whyNot);
        EXPECT_NE(context, nullptr) << whyNot;
        host.current = currentState();
    }
    for (int i = 0; i < mostCommands && !values.empty(); ++i) {
        runCommand(values, host);
    }
    session.expectSound(host);
    return 0;
}

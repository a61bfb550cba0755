#include "Support/TestHost.h"

#include "PrismDrift/Sources/PrismDrift.h"
#include "Support/HostContexts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace Testing {
namespace {

thread_local TestHost* tHost = nullptr;

TestHost& hostOf(PF_ProgPtr effectRef) {
    EXPECT_EQ(reinterpret_cast<TestHost*>(effectRef), tHost) << "a foreign effect_ref";
    return *tHost;
}

bool isCleared(const PF_ParamDef& def) {
    const auto* bytes = reinterpret_cast<const char*>(&def);
    return std::all_of(bytes, bytes + sizeof def, [](char byte) { return byte == 0; });
}

PF_Err checkOut(PF_ProgPtr effectRef, std::int32_t index, std::int32_t time, std::int32_t step,
                std::uint32_t scale, PF_ParamDef* def) {
    TestHost& host = hostOf(effectRef);
    EXPECT_TRUE(isCleared(*def) && time == 1201 && step == 40 && scale == 1000);
    const PF_Err failure = host.note("checkout " + std::to_string(index));
    if (failure == PF_Err_NONE) {
        const double value = host.settings.at(static_cast<std::size_t>(index));
        host.checkedOut = def;
        def->uu.id = index;
        if (index > 2) {
            def->u.fs_d.value = value;
        } else { // the choice lies where the angle does
            def->u.ad.value =
                static_cast<PF_Fixed>(std::lround(index == 2 ? value * 65536 : value));
        }
    }
    return failure;
}

PF_Err checkIn(PF_ProgPtr effectRef, PF_ParamDef* def) {
    TestHost& host = hostOf(effectRef);
    const bool isOut = std::exchange(host.checkedOut, nullptr) == def;
    EXPECT_EQ(isCleared(*def), !isOut);
    return host.note("checkin " + (isOut ? std::to_string(def->uu.id) : "-"));
}

PF_Err add(PF_ProgPtr effectRef, std::int32_t index, PF_ParamDef* def) {
    EXPECT_EQ(index, -1);
    hostOf(effectRef).added.push_back(*def);
    return tHost->note("add " + std::to_string(def->uu.id));
}

template <typename Pixel>
PF_Err firstPixel(PF_LayerDef* world, void* pixels, Pixel** pixel) {
    EXPECT_TRUE(pixels == nullptr && *pixel == nullptr);
    *pixel = static_cast<Pixel*>(world->data);
    return PF_Err_NONE;
}

PF_Handle newHandle(std::size_t size) {
    const bool works = tHost->note("new " + std::to_string(size), 1) == PF_Err_NONE;
    return works ? new (void*)(std::malloc(size)) : nullptr;
}

void* lock(PF_Handle handle) {
    return tHost->note("lock", 1) == PF_Err_NONE ? *handle : nullptr;
}

void unlock(PF_Handle) {
    tHost->note("unlock", -1);
}

void dispose(PF_Handle handle) {
    tHost->note("dispose", -1);
    std::free(*handle);
    delete handle;
}

/// Visits all of `source`, whatever the size of `destination`.
PF_Err iterate(PF_InData*, std::int32_t, std::int32_t final, PF_LayerDef* source,
               const PF_Rect* area, void* refcon, PF_IteratePixelFloatFunc function,
               PF_LayerDef* destination) {
    EXPECT_TRUE(final == source->height && area == nullptr);
    const PF_Err failure = tHost->note("iterate");
    const auto pixel = [](const PF_LayerDef& world, int x, int y) {
        auto* row = static_cast<char*>(world.data) + std::ptrdiff_t{y} * world.rowbytes;
        return reinterpret_cast<PF_PixelFloat*>(row) + x;
    };
    for (int i = 0; i < source->width * source->height && failure == PF_Err_NONE; ++i) {
        const int x = i % source->width;
        const int y = i / source->width;
        EXPECT_EQ(function(refcon, x, y, pixel(*source, x, y), pixel(*destination, x, y)), 0);
    }
    return failure;
}

std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
    static PF_ANSICallbacksSuite1 ansi{std::sprintf};
    static PF_HandleSuite1 handles{newHandle, lock, unlock, dispose};
    static PF_iterateFloatSuite1 iterators{iterate};
    static const std::map<std::string, void*> suites{{"PF ANSI Suite 1", &ansi},
                                                     {"PF Handle Suite 2", &handles},
                                                     {"PF iterateFloat Suite 1", &iterators}};
    const std::string key = std::string(name) + " " + std::to_string(version);
    const PF_Err failure = tHost->note("acquire " + key, 1);
    *suite = failure == PF_Err_NONE ? suites.at(key) : nullptr;
    return failure;
}

std::int32_t release(const char* name, std::int32_t version) {
    tHost->note(std::string("release ") + name + " " + std::to_string(version), -1);
    return 3; // which nobody is to look at
}

} // namespace

TestHost::TestHost() {
    static SPBasicSuite basic{acquire, release};
    static PF_UtilCallbacks utils{
        {std::sprintf, std::strcpy}, firstPixel<PF_Pixel8>, firstPixel<PF_Pixel16>};
    // Of the downsample factors only the first denominator is for the effect.
    inData = {{checkOut, checkIn, add},
              &utils,
              reinterpret_cast<PF_ProgPtr>(this),
              1201,
              40,
              1000,
              {3, 1},
              {5, 7},
              &basic};
}

PF_Err TestHost::command(int cmd, PF_LayerDef* input, PF_LayerDef* output) {
    PF_ParamDef layer{};
    if (input != nullptr) {
        layer.u.ld = *input;
    }
    PF_ParamDef* params[] = {&layer};
    PF_Err answer = PF_Err_NONE;
    const auto asked = static_cast<PF_Cmd>(cmd);
    serve([&] { answer = EntryPointFunc(asked, &inData, &outData, params, output, nullptr); });
    EXPECT_TRUE(current.empty() || current == currentState()) << "after the command " << cmd;
    return answer;
}

void TestHost::serve(const std::function<void()>& work) {
    TestHost* former = std::exchange(tHost, this);
    work();
    tHost = former; // as after a nested command
}

PF_Err TestHost::note(const std::string& call, int gained) {
    calls.push_back(call);
    if (onCall) {
        onCall(call);
    }
    const auto failure = failing.find(call);
    held += failure == failing.end() ? gained : 0;
    return failure != failing.end() ? failure->second : PF_Err_NONE;
}

} // namespace Testing

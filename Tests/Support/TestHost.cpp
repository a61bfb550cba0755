#include "Support/TestHost.h"

#include "PrismDrift/Sources/PrismDrift.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace Testing {
namespace {

thread_local TestHost* tHost = nullptr;

struct Block {
    void* memory = nullptr; ///< first, since a handle is the address of this pointer
    std::vector<std::uint8_t> bytes;
    bool locked = false;
};

bool isCleared(const PF_ParamDef& def) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(&def);
    return std::all_of(bytes, bytes + sizeof def, [](unsigned char byte) { return byte == 0; });
}

} // namespace

struct Callbacks {
    static TestHost& host(PF_ProgPtr effectRef) {
        EXPECT_EQ(reinterpret_cast<TestHost*>(effectRef), tHost) << "a foreign effect_ref";
        return *tHost;
    }

    static PF_Err checkout(PF_ProgPtr effectRef, std::int32_t index, std::int32_t time,
                           std::int32_t step, std::uint32_t scale, PF_ParamDef* def) {
        TestHost& self = host(effectRef);
        EXPECT_TRUE(isCleared(*def)) << "checkout " << index;
        EXPECT_TRUE(time == self.inData.current_time && step == self.inData.time_step &&
                    scale == self.inData.time_scale);
        const PF_Err failure = self.note("checkout " + std::to_string(index));
        if (failure == PF_Err_NONE) {
            const double value = self.values.at(static_cast<std::size_t>(index));
            self.mCheckedOut = def;
            def->uu.id = index;
            if (index <= 2) {
                (index == 1 ? def->u.pd.value : def->u.ad.value) = static_cast<PF_Fixed>(value);
            } else {
                def->u.fs_d.value = value;
            }
        }
        return failure;
    }

    static PF_Err checkin(PF_ProgPtr effectRef, PF_ParamDef* def) {
        TestHost& self = host(effectRef);
        const bool checkedOut = std::exchange(self.mCheckedOut, nullptr) == def;
        EXPECT_EQ(isCleared(*def), !checkedOut);
        return self.note("checkin " + (checkedOut ? std::to_string(def->uu.id) : "-"));
    }

    static PF_Err add(PF_ProgPtr effectRef, std::int32_t index, PF_ParamDef* def) {
        EXPECT_EQ(index, -1);
        host(effectRef).added.push_back(*def);
        return host(effectRef).note("add " + std::to_string(def->uu.id));
    }

    static char* copy(char* destination, const char* source) {
        EXPECT_LT(std::strlen(source), sizeof PF_ParamDef::name);
        return std::strcpy(destination, source);
    }

    template <typename Pixel>
    static PF_Err firstPixel(PF_LayerDef* world, void* pixels, Pixel** pixel) {
        EXPECT_EQ(pixels, nullptr);
        EXPECT_EQ(*pixel, nullptr) << "the pixel pointer has to be null beforehand";
        *pixel = static_cast<Pixel*>(world->data);
        return PF_Err_NONE;
    }

    static Block& block(PF_Handle handle) { return *reinterpret_cast<Block*>(handle); }

    static PF_Handle newHandle(std::size_t size) {
        if (tHost->note("new " + std::to_string(size)) != PF_Err_NONE) {
            return nullptr;
        }
        ++tHost->held;
        auto block = std::make_unique<Block>();
        block->bytes.resize(size);
        block->memory = block->bytes.data();
        return &block.release()->memory;
    }

    static void* lock(PF_Handle handle) {
        if (tHost->note("lock") != PF_Err_NONE) {
            return nullptr;
        }
        ++tHost->held;
        block(handle).locked = true;
        return block(handle).memory;
    }

    static void unlock(PF_Handle handle) {
        tHost->note("unlock");
        --tHost->held;
        block(handle).locked = false;
    }

    static void dispose(PF_Handle handle) {
        tHost->note("dispose");
        --tHost->held;
        EXPECT_FALSE(block(handle).locked) << "a locked handle disposed of";
        const std::unique_ptr<Block> end(&block(handle));
    }

    static PF_Err iterate(PF_InData*, std::int32_t, std::int32_t final, PF_LayerDef* source,
                          const PF_Rect* area, void* refcon, PF_IteratePixelFloatFunc function,
                          PF_LayerDef* destination) {
        EXPECT_TRUE(final == source->height && area == nullptr);
        if (const PF_Err failure = tHost->note("iterate")) {
            return failure;
        }
        const auto pixel = [](const PF_LayerDef& world, int x, int y) {
            auto* row = static_cast<char*>(world.data) + std::ptrdiff_t{y} * world.rowbytes;
            return reinterpret_cast<PF_PixelFloat*>(row) + x;
        };
        for (int i = 0; i < source->width * source->height; ++i) {
            const int x = i % source->width;
            const int y = i / source->width;
            EXPECT_EQ(function(refcon, x, y, pixel(*source, x, y), pixel(*destination, x, y)), 0);
        }
        return PF_Err_NONE;
    }

    static std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
        static PF_ANSICallbacksSuite1 ansi{std::sprintf};
        static PF_HandleSuite1 handles{newHandle, lock, unlock, dispose};
        static PF_iterateFloatSuite1 iterators{iterate};
        const std::map<std::string, void*> suites{{"PF ANSI Suite 1", &ansi},
                                                  {"PF Handle Suite 2", &handles},
                                                  {"PF iterateFloat Suite 1", &iterators}};
        const std::string key = std::string(name) + " " + std::to_string(version);
        if (const PF_Err failure = tHost->note("acquire " + key)) {
            return failure;
        }
        ++tHost->held;
        *suite = suites.at(key);
        return 0;
    }

    static std::int32_t release(const char* name, std::int32_t version) {
        tHost->note(std::string("release ") + name + " " + std::to_string(version));
        --tHost->held;
        return 3; // which nobody is to look at
    }
};

TestHost::TestHost() {
    mBasic = {Callbacks::acquire, Callbacks::release};
    mUtils = {{std::sprintf, Callbacks::copy},
              Callbacks::firstPixel<PF_Pixel8>,
              Callbacks::firstPixel<PF_Pixel16>};
    inData.inter = {Callbacks::checkout, Callbacks::checkin, Callbacks::add};
    inData.utils = &mUtils;
    inData.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
    inData.current_time = 1201;
    inData.time_step = 40;
    inData.time_scale = 1000;
    inData.downsample_x = {3, 1}; // of which only the first denominator is for the effect
    inData.downsample_y = {5, 7};
    inData.pica_basicP = &mBasic;
    values = {0, 1, 0, 0, 0, 100, 100, 100};
}

TestHost::~TestHost() {
    EXPECT_EQ(held, 0);
}

PF_Err TestHost::command(PF_Cmd cmd, PF_LayerDef* input, PF_LayerDef* output) {
    PF_ParamDef layer{};
    if (input != nullptr) {
        layer.u.ld = *input;
    }
    PF_ParamDef* params[] = {&layer};
    PF_Err answer = PF_Err_NONE;
    serve([&] { answer = EntryPointFunc(cmd, &inData, &outData, params, output, nullptr); });
    return answer;
}

void TestHost::serve(const std::function<void()>& work) {
    struct Scope { // the host before comes back, as after a nested command
        TestHost* former;
        ~Scope() { tHost = former; }
    };
    const Scope scope{std::exchange(tHost, this)};
    work();
}

PF_Err TestHost::note(const std::string& call) {
    calls.push_back(call);
    if (onCall) {
        onCall(call);
    }
    const auto failure = failing.find(call);
    return failure != failing.end() ? failure->second : PF_Err_NONE;
}

} // namespace Testing

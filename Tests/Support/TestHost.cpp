#include "Support/TestHost.h"

#include "PrismDrift/Sources/PrismDrift.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

namespace Testing {
namespace {

thread_local TestHost* tHost = nullptr;

/// Makes a host the thread's one for a scope; the one before comes back, as after a nested command.
class HostScope {
public:
    explicit HostScope(TestHost* host) : mFormer(std::exchange(tHost, host)) {}
    ~HostScope() { tHost = mFormer; }
    HostScope(const HostScope&) = delete;
    HostScope& operator=(const HostScope&) = delete;

private:
    TestHost* mFormer;
};

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
        EXPECT_EQ(time, self.inData.current_time);
        EXPECT_EQ(step, self.inData.time_step);
        EXPECT_EQ(scale, self.inData.time_scale);
        self.note("checkout " + std::to_string(index));
        if (++self.mCheckouts == self.failCheckout) {
            return self.failure;
        }
        self.mCheckedOut = def;
        self.mCheckedOutIndex = index;
        def->uu.id = index;
        if (index == 1) {
            def->u.pd.value = self.choice;
        } else if (index == 2) {
            def->u.ad.value = self.angle;
        } else {
            def->u.fs_d.value = self.sliders.at(static_cast<std::size_t>(index));
        }
        return PF_Err_NONE;
    }

    static PF_Err checkin(PF_ProgPtr effectRef, PF_ParamDef* def) {
        TestHost& self = host(effectRef);
        const bool checkedOut = std::exchange(self.mCheckedOut, nullptr) == def;
        EXPECT_EQ(isCleared(*def), !checkedOut);
        self.note("checkin " + (checkedOut ? std::to_string(self.mCheckedOutIndex) : "-"));
        return ++self.mCheckins == self.failCheckin ? self.failure : PF_Err_NONE;
    }

    static PF_Err add(PF_ProgPtr effectRef, std::int32_t index, PF_ParamDef* def) {
        TestHost& self = host(effectRef);
        EXPECT_EQ(index, -1);
        self.note("add " + std::to_string(def->uu.id));
        if (++self.mAdds == self.failAdd) {
            return self.failure;
        }
        self.added.push_back(*def);
        return PF_Err_NONE;
    }

    __attribute__((format(printf, 2, 3))) static int print(char* buffer, const char* format, ...) {
        std::va_list arguments;
        va_start(arguments, format);
        const int length = std::vsnprintf(buffer, sizeof PF_OutData::return_msg, format, arguments);
        va_end(arguments);
        return length;
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

    static PF_Handle newHandle(std::size_t size) {
        tHost->note("new " + std::to_string(size));
        if (tHost->noHandle) {
            return nullptr;
        }
        ++tHost->handlesHeld;
        auto block = std::make_unique<Block>();
        block->bytes.resize(size);
        block->memory = block->bytes.data();
        return &block.release()->memory;
    }

    static Block& block(PF_Handle handle) { return *reinterpret_cast<Block*>(handle); }

    static void* lock(PF_Handle handle) {
        tHost->note("lock");
        if (tHost->noLock) {
            return nullptr;
        }
        ++tHost->handlesLocked;
        block(handle).locked = true;
        return block(handle).memory;
    }

    static void unlock(PF_Handle handle) {
        tHost->note("unlock");
        --tHost->handlesLocked;
        block(handle).locked = false;
    }

    static void dispose(PF_Handle handle) {
        tHost->note("dispose");
        --tHost->handlesHeld;
        EXPECT_FALSE(block(handle).locked) << "a locked handle disposed of";
        const std::unique_ptr<Block> end(&block(handle));
    }

    static PF_Err iterate(PF_InData*, std::int32_t, std::int32_t final, PF_LayerDef* source,
                          const PF_Rect* area, void* refcon, PF_IteratePixelFloatFunc function,
                          PF_LayerDef* destination) {
        tHost->note("iterate");
        EXPECT_EQ(final, source->height);
        EXPECT_EQ(area, nullptr);
        if (tHost->iterateResult != 0) {
            return tHost->iterateResult;
        }
        const auto pixel = [](PF_LayerDef& world, int x, int y) {
            return reinterpret_cast<PF_PixelFloat*>(static_cast<char*>(world.data) +
                                                    std::ptrdiff_t{y} * world.rowbytes) +
                   x;
        };
        for (int y = 0; y < source->height; ++y) {
            for (int x = 0; x < source->width; ++x) {
                EXPECT_EQ(function(refcon, x, y, pixel(*source, x, y), pixel(*destination, x, y)),
                          0);
            }
        }
        return PF_Err_NONE;
    }

    static std::int32_t acquire(const char* name, std::int32_t version, void** suite) {
        static PF_ANSICallbacksSuite1 ansi{print};
        static PF_HandleSuite1 handles{newHandle, lock, unlock, dispose};
        static PF_iterateFloatSuite1 iterators{iterate};
        const std::string text = name;
        tHost->note("acquire " + text + " " + std::to_string(version));
        if (tHost->refusedSuites.count(text) != 0) {
            return 1;
        }
        if (text == "PF ANSI Suite" && version == 1) {
            *suite = &ansi;
        } else if (text == "PF Handle Suite" && version == 2) {
            *suite = &handles;
        } else if (text == "PF iterateFloat Suite" && version == 1) {
            *suite = &iterators;
        } else {
            return 2;
        }
        ++tHost->suitesHeld;
        return 0;
    }

    static std::int32_t release(const char* name, std::int32_t version) {
        tHost->note(std::string("release ") + name + " " + std::to_string(version));
        --tHost->suitesHeld;
        return 3; // which nobody is to look at
    }
};

TestHost::TestHost() {
    mBasic = {Callbacks::acquire, Callbacks::release};
    mUtils = {{Callbacks::print, Callbacks::copy},
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
    for (const std::size_t scale : {5U, 6U, 7U}) {
        sliders[scale] = 100.0;
    }
}

TestHost::~TestHost() {
    EXPECT_EQ(suitesHeld, 0);
    EXPECT_EQ(handlesHeld, 0);
    EXPECT_EQ(handlesLocked, 0);
}

PF_Err TestHost::command(PF_Cmd cmd, PF_LayerDef* input, PF_LayerDef* output) {
    mAdds = mCheckouts = mCheckins = 0;
    PF_ParamDef layer{};
    if (input != nullptr) {
        layer.u.ld = *input;
    }
    PF_ParamDef* params[] = {&layer};
    const HostScope scope(this);
    return EntryPointFunc(cmd, &inData, &outData, params, output, nullptr);
}

void TestHost::serve(const std::function<void()>& work) {
    const HostScope scope(this);
    work();
}

void TestHost::note(const std::string& call) {
    calls.push_back(call);
    if (onCall) {
        onCall(call);
    }
}

} // namespace Testing

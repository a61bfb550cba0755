// The platform's contexts, without any of the runtime on top.

#include "Platform/OpenGL/OpenGLContext.h"
#include "Platform/OpenGL/ContextFailure.h"
#include "Support/HostContexts.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace Testing {
namespace {

NSOpenGLPixelFormat* format(std::vector<NSOpenGLPixelFormatAttribute> attributes) {
    attributes.push_back(0);
    return NSOpenGLPixelFormat::initWithAttributes(attributes.data());
}

TEST(PixelFormat, TakesWhatItKnows) {
    NSOpenGLPixelFormat* known =
        format({NSOpenGLPFAClosestPolicy, NSOpenGLPFANoRecovery, NSOpenGLPFAAlphaSize, 24,
                NSOpenGLPFAColorSize, 24, NSOpenGLPFAStencilSize, 24, NSOpenGLPFADepthSize, 24,
                NSOpenGLPFAOpenGLProfile, NSOpenGLProfileVersion3_2Core});
    ASSERT_NE(known, nullptr);
    known->release();
    EXPECT_EQ(format({12345}), nullptr);
    EXPECT_EQ(format({NSOpenGLPFAOpenGLProfile, 0x1000}), nullptr);
    EXPECT_EQ(NSOpenGLContext::initWithFormat(nullptr, nullptr), nullptr);
}

class PlatformContext : public ::testing::Test {
protected:
    void SetUp() override {
        api = currentState()[0];
        plain = format({});
        first = NSOpenGLContext::initWithFormat(plain, nullptr);
        second = NSOpenGLContext::initWithFormat(plain, first);
        ASSERT_TRUE(first != nullptr && second != nullptr);
    }
    void TearDown() override {
        plain->release();
        first->release();
        second->release();
        EXPECT_EQ(currentState()[0], api) << "the thread's rendering API is the host's";
        EXPECT_FALSE(CGLGetCurrentContext());
    }

    std::uintptr_t api = 0;
    NSOpenGLPixelFormat* plain = nullptr;
    NSOpenGLContext *first = nullptr, *second = nullptr;
};

TEST_F(PlatformContext, SwitchesAtBothLevelsOrStaysWhereItIs) {
    EXPECT_EQ(Platform::contextFailure(), "");
    const auto nothingCurrent = currentState();
    EXPECT_EQ(NSOpenGLContext::currentContext(), nullptr);
    EXPECT_NE(first->number(), second->number());
    ASSERT_TRUE(first->makeCurrentContext());
    EXPECT_EQ(NSOpenGLContext::currentNumber(), first->number());
    EXPECT_EQ(CGLGetCurrentContext(), first->lowLevelContext());
    std::thread([&] {
        EXPECT_TRUE(CGLSetCurrentContext(second->lowLevelContext()));
        EXPECT_FALSE(first->makeCurrentContext() || first->isLost()); // as it is current elsewhere
        EXPECT_EQ(NSOpenGLContext::currentContext(), second);
        Platform::releaseOwnContext();
        EXPECT_EQ(NSOpenGLContext::currentContext(), nullptr);
    }).join();
    const CGLContextObj dead = second->lowLevelContext();
    second->invalidate();
    EXPECT_FALSE(second->lowLevelContext() || second->makeCurrentContext());
    EXPECT_FALSE(CGLSetCurrentContext(dead));
    EXPECT_EQ(NSOpenGLContext::initWithFormat(plain, second), nullptr); // no group to share
    EXPECT_EQ(NSOpenGLContext::currentContext(), first);
    EXPECT_TRUE(CGLSetCurrentContext(nullptr) && !CGLGetCurrentContext());
    ASSERT_TRUE(first->makeCurrentContext());
    first->invalidate(); // unbinds it
    EXPECT_EQ(currentState(), nothingCurrent);
}

TEST_F(PlatformContext, LeavesAForeignOneAlone) {
    std::string whyNot;
    const auto foreign = makeHostContext(HostApi::eglEmbedded, whyNot);
    if (foreign == nullptr) {
        GTEST_SKIP() << whyNot;
    }
    const auto before = currentState();
    const CGLContextObj low = CGLGetCurrentContext();
    EXPECT_TRUE(low);
    EXPECT_EQ(NSOpenGLContext::currentContext(), nullptr);
    Platform::releaseOwnContext();
    EXPECT_EQ(currentState(), before);
    ASSERT_TRUE(first->makeCurrentContext());
    EXPECT_TRUE(CGLSetCurrentContext(low));
    EXPECT_EQ(currentState(), before);
}

} // namespace
} // namespace Testing

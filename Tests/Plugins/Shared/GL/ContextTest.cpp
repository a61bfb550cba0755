// Contexts of our own, their manager, and the record of what a host has current.

#include "GLTest.h"
#include "Support/HostContexts.h"

#include "Shared/GL/AEOpenGLContextManager.h"
#include "Shared/GL/PerContextName.h"
#include "Shared/GL/SaveRestoreGLContextMac.h"

#include <glbinding/ContextInfo.h>
#include <glbinding/Meta.h>
#include <glbinding/Version.h>

#include <future>
#include <thread>

namespace Testing {
namespace {

using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;

class Context : public GLTest {
protected:
    void SetUp() override {
        GLTest::SetUp();
        second = std::make_unique<AEOpenGLContext>(context.get());
    }
    void TearDown() override {
        second.reset();
        context->makeContextCurrent();
    }

    std::unique_ptr<AEOpenGLContext> second;
};

TEST_F(Context, DescribesItselfOnce) {
    const std::string block =
        "\nOpenGL Version:  " + glbinding::ContextInfo::version().toString() +
        "\nOpenGL Vendor:   " + glbinding::ContextInfo::vendor() +
        "\nOpenGL Renderer: " + glbinding::ContextInfo::renderer() +
        "\nOpenGL Revision: " + std::to_string(glbinding::Meta::glRevision()) + " (gl.xml)\n\n";
    context->makeContextCurrent();
    second->makeContextCurrent();
    EXPECT_EQ(GLWatch::messages(), block + block);
    EXPECT_FALSE(second->mExtensions.empty());
    EXPECT_GE(glbinding::ContextInfo::version(), glbinding::Version(3, 3));
}

TEST_F(Context, SharesTexturesWithItsGroupButNotWhatIsPerContext) {
    EXPECT_TRUE(second->isCurrent() && !context->isCurrent());
    const GLuint texture = generate(glGenTextures);
    glBindTexture(GL_TEXTURE_2D, texture);
    PerContextName name;
    name.generate(glGenVertexArrays);
    name.generate(glGenVertexArrays); // there is one already
    const GLuint first = name;
    context->makeContextCurrent();
    EXPECT_TRUE(context->isCurrent() && glIsTexture(texture) == GL_TRUE);
    EXPECT_EQ(GLuint{name}, 0U);
    name.generate(glGenVertexArrays);
    EXPECT_EQ(GLWatch::names("VertexArrays"), 2);
    name.remove(glDeleteVertexArrays);
    EXPECT_EQ(GLWatch::names("VertexArrays"), 1);
    EXPECT_EQ(GLuint{name}, 0U);
    second->makeContextCurrent();
    EXPECT_TRUE(first != 0 && name == first);
    glDeleteTextures(1, &texture);
    second.reset(); // unbinds it
    EXPECT_EQ(CGLGetCurrentContext(), CGLContextObj());
    EXPECT_EQ(GLuint{name}, 0U);
}

TEST_F(Context, FlushesWhatTheSaverLeavesUnlessItIsIncomplete) {
    const auto leave = [&] {
        const auto calls = GLWatch::callsDuring(
            [&] {
                SaveRestoreGLContextMac saver;
                saver.setMRC(context->mCGLContext); // known at the low level only
                saver.restore();
            },
            "Flush CheckFramebufferStatus");
        EXPECT_EQ(CGLGetCurrentContext(), context->mCGLContext);
        second->makeContextCurrent();
        return calls;
    };
    EXPECT_EQ(leave(), "Flush()"); // frame buffer 0
    const GLuint frameBuffer = generate(glGenFramebuffers);
    glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer);
    EXPECT_EQ(leave(), "CheckFramebufferStatus(FRAMEBUFFER)"); // incomplete
    const GLuint texture = generate(glGenTextures);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexImage2D(GL_TEXTURE_2D, 0, asInteger(GL_RGBA), 4, 4, 0, GL_RGBA, GL_FLOAT, nullptr);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    EXPECT_EQ(leave(), "CheckFramebufferStatus(FRAMEBUFFER) Flush()");
    glDeleteFramebuffers(1, &frameBuffer);
    glDeleteTextures(1, &texture);
    EXPECT_EQ(GLWatch::callsDuring([&] {
                  AEOpenGLContext::makeCurrentFlush(second->mCGLContext); // which is current
                  second->makeContextCurrent();
                  releaseCurrentEgl();
                  AEOpenGLContext::makeCurrentFlush(second->mCGLContext); // from nothing
              }),
              "");
    EXPECT_EQ(CGLGetCurrentContext(), second->mCGLContext);
}

TEST_F(Context, IsPutBackOnceByTheSaver) {
    SaveRestoreGLContextMac saver;
    /// What is current after a command that uses the first context.
    const auto restored = [&] {
        context->makeContextCurrent();
        saver.restore();
        EXPECT_TRUE(saver.mRestored());
        return NSOpenGLContext::currentContext();
    };
    EXPECT_EQ(saver.init(), &saver);
    EXPECT_EQ(restored(), second->mNSContext);
    EXPECT_EQ(restored(), context->mNSContext); // which a second restore leaves
    second->makeContextCurrent();
    saver.init();
    EXPECT_EQ(restored(), second->mNSContext);
    saver.init();
    second.reset(); // a context that has died is skipped
    EXPECT_EQ(restored(), context->mNSContext);
    releaseCurrentEgl();
    saver.init();
    EXPECT_EQ(restored(), context->mNSContext); // where nothing was recorded ours stays
}

class Manager : public ::testing::Test {
protected:
    using M = AEOpenGLContextManager;
    void TearDown() override {
        M::releaseContextManager();
        EXPECT_THAT(contexts(), IsEmpty());
    }
    static std::map<int, AEOpenGLContext*> contexts() {
        const Platform::MutexLock lock(M::mMapMutex);
        return M::mRenderContexts;
    }
    GLWatch watch;
};

TEST_F(Manager, GivesEachThreadItsContext) {
    EXPECT_EQ(M::getCurrentRenderContext(), nullptr); // without a set-up, and without an id
    EXPECT_THAT(contexts(), IsEmpty());
    const int firstId = M::mContextCount;
    M::setupContextManager();
    AEOpenGLContext* shared = M::getSharedDataContext();
    M::setupContextManager();
    EXPECT_EQ(M::getSharedDataContext(), shared);
    EXPECT_TRUE(shared->isCurrent());
    const GLuint texture = generate(glGenTextures);
    glBindTexture(GL_TEXTURE_2D, texture);
    AEOpenGLContext* own = M::getCurrentRenderContext();
    EXPECT_TRUE(own->isCurrent() && glIsTexture(texture) == GL_TRUE); // in one share group
    glDeleteTextures(1, &texture);
    shared->makeContextCurrent();
    EXPECT_EQ(M::getCurrentRenderContext(), own);
    EXPECT_TRUE(shared->isCurrent()); // an old one is not made current
    const AEOpenGLContext* others = nullptr;
    std::uint64_t lastNumber = 0;
    for (const int id : {firstId + 1, firstId + 2}) { // the second takes over from the first
        std::thread([&] {
            const auto told = GLWatch::messages();
            const AEOpenGLContext* given = M::getCurrentRenderContext();
            EXPECT_TRUE(given != own && given->isCurrent() && GLWatch::messages() != told);
            EXPECT_TRUE(others == nullptr || given == others);
            EXPECT_THAT(contexts(), ElementsAre(Key(firstId), Key(id)));
            others = given;
            lastNumber = given->mNSContext->number();
        }).join();
        EXPECT_THAT(contexts(), ElementsAre(Pair(firstId, own)));
    }
    M::releaseContextManager();
    EXPECT_TRUE(M::getSharedDataContext() == nullptr && M::getCurrentRenderContext() == nullptr);
    EXPECT_THAT(contexts(), ElementsAre(Pair(firstId, nullptr)));
    M::releaseContextManager(); // skips the null
    M::setupContextManager();
    const AEOpenGLContext* renewed = M::getCurrentRenderContext();
    ASSERT_NE(renewed, nullptr);
    EXPECT_GT(renewed->mNSContext->number(), lastNumber); // not one from before
    EXPECT_THAT(contexts(), ElementsAre(Key(firstId)));
    EXPECT_EQ(M::mContextCount, firstId + 3);
}

/// Writes down its end.
struct NotedContext : AEOpenGLContext {
    NotedContext(int number, std::vector<int>& ends)
        : AEOpenGLContext(nullptr), mNumber(number), mEnds(ends) {}
    ~NotedContext() override { mEnds.push_back(mNumber); }
    int mNumber;
    std::vector<int>& mEnds;
};

TEST_F(Manager, ReleasesTheSharedContextLast) {
    std::vector<int> ends;
    {
        const Platform::RecursiveMutexLock lock(M::mMutex);
        const Platform::MutexLock mapLock(M::mMapMutex);
        M::mSharedDataContext = new NotedContext(0, ends);
        for (const int id : {1007, 1003, 1005}) {
            M::mRenderContexts[id] = new NotedContext(id, ends);
        }
    }
    M::releaseContextManager();
    EXPECT_THAT(ends, ElementsAre(1003, 1005, 1007, 0));
}

TEST_F(Manager, LetsNoThreadMakeAContextBesideAFrame) {
    M::setupContextManager();
    for (void (*operation)() :
         {M::setupContextManager, +[] { M::getSharedDataContext(); },
          +[] { M::getCurrentRenderContext(); }, M::releaseContextManager, M::abandonContexts}) {
        std::future<void> done;
        {
            const Platform::RecursiveMutexLock frame(M::mMutex);
            done = std::async(std::launch::async, operation);
            EXPECT_EQ(done.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        }
        done.get();
    }
    M::setupContextManager();
    std::promise<void> started, ended, go;
    std::thread thread([&] {
        M::getCurrentRenderContext();
        ended.set_value_at_thread_exit();
        started.set_value();
        go.get_future().wait();
    });
    started.get_future().wait();
    {
        const Platform::RecursiveMutexLock frame(M::mMutex);
        go.set_value(); // and a thread's end doesn't wait for one
        EXPECT_EQ(ended.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    }
    thread.join();
    EXPECT_THAT(contexts(), IsEmpty());
}

} // namespace
} // namespace Testing

#include "Host/CommandLine/RenderClip.h"

#include "Host/CommandLine/BoundedQueue.h"
#include "Host/Library/Error.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <exception>
#include <iostream>
#include <limits>
#include <pthread.h>
#include <string>
#include <thread>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

using Queue = BoundedQueue<Host::ClipItem>;

// Four frames wait on either side of the effect. Packets are small, but not nothing.
constexpr std::size_t frameWeight = 256;
constexpr std::size_t capacity = 4 * frameWeight;

std::size_t weightOf(const Host::ClipItem& item) {
    return std::holds_alternative<Host::ClipFrame>(item) ? frameWeight : 1;
}

// The thread that reads, which may be stuck in a pipe that nothing comes from.
class Reading {
public:
    Reading(Host::ClipReader& reader, Queue& queue)
        : mReader(reader), mQueue(queue), mThread([this] { run(); }) {}
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    ~Reading() {
        mQueue.close();
        mReader.stop();
        while (!mIsOver) {
            pthread_kill(mThread.native_handle(), wakeUp); // out of a read that waits
            constexpr std::chrono::milliseconds pause{5};
            std::this_thread::sleep_for(pause);
        }
        mThread.join();
    }

    // Gives the signal that ends a read a handler, so that it ends nothing else. Called before any
    // object is made.
    static void prepare() {
        struct sigaction action = {};
        action.sa_handler = [](int) {};
        sigaction(wakeUp, &action, nullptr);
    }

private:
    static constexpr int wakeUp = SIGUSR1;

    void run() {
        try {
            while (auto item = mReader.next()) {
                const std::size_t weight = weightOf(*item);
                if (!mQueue.push(std::move(*item), weight)) {
                    break;
                }
            }
            mQueue.end();
        } catch (...) {
            mQueue.end(std::current_exception());
        }
        mIsOver = true;
    }

    Host::ClipReader& mReader;
    Queue& mQueue;
    std::atomic<bool> mIsOver = false;
    std::thread mThread;
};

// The thread that writes. Where that fails nothing more is read, or drawn, either.
class Writing {
public:
    Writing(Host::ClipWriter& writer, Queue& queue, Queue& read)
        : mWriter(writer), mQueue(queue), mRead(read), mThread([this] { run(); }) {}
    Writing(const Writing&) = delete;
    Writing& operator=(const Writing&) = delete;
    ~Writing() {
        mQueue.close();
        if (mThread.joinable()) {
            mThread.join();
        }
    }

    // Waits until all that was handed over is written, and throws what went wrong with it.
    void join() {
        mThread.join();
        if (mError) {
            std::rethrow_exception(mError);
        }
    }

private:
    void run() {
        try {
            while (auto item = mQueue.pop()) {
                mWriter.write(std::move(*item));
            }
            if (!mQueue.isClosed()) {
                mWriter.finish();
            }
        } catch (...) {
            mError = std::current_exception();
            mQueue.close();
            mRead.close(); // or the error would wait for the next frame of a pipe
        }
    }

    Host::ClipWriter& mWriter;
    Queue& mQueue;
    Queue& mRead;
    std::exception_ptr mError;
    std::thread mThread;
};

double endOf(const Host::ClipFrame& frame, const Host::Ratio& unit) {
    return static_cast<double>(frame.time + frame.duration) * unit.numerator / unit.denominator;
}

// Draws what comes until it ends or the queue behind it is closed.
void drawFrames(const ClipRendering& rendering, Queue& read, Queue& drawn) {
    const Host::ClipProperties& clip = rendering.reader.properties();
    std::string readBy;
    while (auto item = read.pop()) {
        const std::size_t weight = weightOf(*item);
        double time = 0;
        if (auto* frame = std::get_if<Host::ClipFrame>(&*item)) {
            if (rendering.isVerbose && frame->picture.readBy != readBy) {
                readBy = frame->picture.readBy;
                std::cerr << "prismdrift: reader: " << readBy << "\n";
            }
            if (rendering.drawn != nullptr) {
                rendering.drawn->replace(*frame);
            } else {
                rendering.drawing.draw(frame->picture, clip.kind, rendering.values,
                                       frameTime(frame->index, clip.frameRate));
            }
            time = endOf(*frame, clip.timeBase);
        }
        if (!drawn.push(std::move(*item), weight)) {
            return;
        }
        if (weight == frameWeight) {
            rendering.progress.frameDone(time);
        }
    }
    if (rendering.drawn != nullptr && !read.isClosed()) {
        rendering.drawn->end();
    }
}

} // namespace

// The effect counts time in whole numbers of 32 bits; a day of frames in fractions of a second
// doesn't go into them, but the frames do.
Host::FrameTime frameTime(std::int64_t index, const Host::Ratio& rate) {
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    if (index > most) {
        throw Host::Error("the clip is longer than an effect can count: frame " +
                          std::to_string(index));
    }
    const std::int64_t step = std::max(1, rate.denominator);
    if (rate.numerator <= 0 || index > most / step) {
        const long whole = rate.numerator / step;
        return {static_cast<std::int32_t>(index), 1,
                static_cast<std::uint32_t>(std::max<long>(1, whole))};
    }
    return {static_cast<std::int32_t>(index * step), static_cast<std::int32_t>(step),
            static_cast<std::uint32_t>(rate.numerator)};
}

int renderClip(const ClipRendering& rendering) {
    Reading::prepare();
    Queue read(capacity);
    Queue drawn(capacity);
    const Interruption interruption(rendering.signals, [&read] { read.close(); });
    Writing writing(rendering.writer, drawn, read);
    const Reading reading(rendering.reader, read);
    bool isCutShort = false;
    try {
        drawFrames(rendering, read, drawn);
        isCutShort = read.isClosed();
        drawn.end();
    } catch (...) {
        // What was drawn before is still written; the writer is not finished.
        drawn.end(std::current_exception());
    }
    writing.join();
    return isCutShort ? FirstSignalKept::signal() : 0; // a signal may come after the last frame
}

} // namespace Vexorel::PrismDrift::CommandLine

// Clips of any bytes: their frames, their other packets, the index of their times. The last byte of
// an input chooses what is asked of the clip.

#include "Host/Library/Error.h"
#include "Host/Media/Clip.h"
#include "Tests/Fuzz/SmallLimits.h"
#include "Tests/Fuzz/Target.h"

#include <fcntl.h>
#include <new>

extern "C" {
#include <libavutil/mem.h>
}

using namespace Vexorel::PrismDrift::Host;

namespace {

constexpr int mostItems = 12;

enum Choice : unsigned {
    chooseFrames = 1,
    askTimesFirst = 2,
    askTimesLast = 4,
    giveRate = 8,
    writeToo = 16
};

void expectTimes(ClipReader& reader) {
    const auto count = reader.frameCount();
    EXPECT_TRUE(!count || *count > 0);
    EXPECT_GE(reader.frameAt(0.0), 0);
    EXPECT_LE(reader.frameAt(0.0), reader.frameAt(1.5));
    reader.frameAt(1e9);
}

void expectFrame(const ClipFrame& frame, const ClipInput& input) {
    const auto& world = frame.picture.world;
    EXPECT_TRUE(world.width() > 0 && world.height() > 0);
    EXPECT_LE(std::int64_t{world.width()} * world.height(), Fuzz::mostPixels);
    EXPECT_TRUE(frame.index >= 0 && input.frames.contains(frame.number));
    EXPECT_GT(frame.duration, 0);
    EXPECT_GE(frame.picture.depth.bits, 1);
}

// A writer of the clip, with all that goes beside its frames, whose bytes go nowhere.
std::unique_ptr<ClipWriter> writerFor(const ClipInput& input, const ClipReader& reader) {
    static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    ClipOutput output;
    output.file = "-";
    output.standardOutput = nowhere;
    output.format = "mkv";
    output.codec = "ffv1";
    return openClipWriter(output, input, reader);
}

void readClip(const ClipInput& input, unsigned choices) {
    const auto reader = openClip(input);
    const ClipProperties& clip = reader->properties();
    EXPECT_TRUE(clip.frameRate.numerator > 0 && clip.frameRate.denominator > 0);
    EXPECT_TRUE(clip.timeBase.numerator > 0 && clip.timeBase.denominator > 0);
    EXPECT_GE(clip.expected.value_or(0), 0);
    if ((choices & askTimesFirst) != 0) {
        expectTimes(*reader);
    }
    const auto writer = (choices & writeToo) != 0 ? writerFor(input, *reader) : nullptr;
    std::int64_t last = -1;
    for (int i = 0; i < mostItems; ++i) {
        auto item = reader->next();
        if (!item) {
            EXPECT_FALSE(reader->next()); // it stays at the end
            break;
        }
        if (const auto* frame = std::get_if<ClipFrame>(&*item)) {
            expectFrame(*frame, input);
            EXPECT_GT(frame->index, last);
            last = frame->index;
        } else {
            EXPECT_NE(std::get<ClipPacket>(*item).packet, nullptr);
        }
        if (writer != nullptr) {
            writer->write(std::move(*item));
        }
    }
    if (writer != nullptr) {
        writer->finish();
    }
    if ((choices & askTimesLast) != 0) {
        expectTimes(*reader);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fuzz::MemoryFile file;
    if (size == 0) {
        return 0;
    }
    const unsigned choices = data[size - 1];
    av_max_alloc(Fuzz::largestBlock);
    file.fill(data, size - 1);
    ClipInput input;
    input.file = file.path();
    input.limits = {Fuzz::mostPixels, Fuzz::mostMetadata};
    if ((choices & chooseFrames) != 0) {
        input.frames = *FrameNumbers::parse("0,2-9x3");
    }
    if ((choices & giveRate) != 0) {
        input.frameRate = "30000/1001";
    }
    try {
        readClip(input, choices);
    } catch (const Error& error) {
        EXPECT_STRNE(error.what(), "");
    } catch (const std::bad_alloc&) { // beyond the largest piece of memory
    }
    return 0;
}

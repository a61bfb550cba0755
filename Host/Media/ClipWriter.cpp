#include "Host/Library/Error.h"
#include "Host/Library/Number.h"
#include "Host/Library/ReplaceFile.h"
#include "Host/Media/Clip.h"
#include "Host/Media/SequencePattern.h"
#include "Host/Media/VideoWriter.h"

#include <algorithm>
#include <cctype>
#include <system_error>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

// Where a clip goes, as its name and the user say.
struct Target {
    std::optional<SequencePattern> pattern;
    const Container* container = nullptr; // null for pictures
    std::string ending;                   // of pictures
};

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    });
    return text;
}

std::string endingOf(const std::filesystem::path& file) {
    const std::string ending = file.extension().string();
    return lowerCase(ending.empty() ? ending : ending.substr(1));
}

[[noreturn]] void refuse(const ClipOutput& output, const std::string& reason) {
    throw Error("cannot write " +
                (output.file == "-" ? "to standard output" : "'" + output.file.string() + "'") +
                ": " + reason);
}

Target targetOf(const ClipOutput& output) {
    Target target;
    const bool isPipe = output.file == "-";
    if (isPipe && output.format.empty()) {
        refuse(output, "it needs an --output-format, such as rawvideo, yuv4mpegpipe, matroska or "
                       "png");
    }
    const std::string format =
        output.format.empty() ? endingOf(output.file) : lowerCase(output.format);
    if (!isPipe) {
        target.pattern = SequencePattern::of(output.file);
    }
    target.container = containerFor(format);
    if (target.container == nullptr && isPictureEnding(format)) {
        target.ending = format;
    } else if (target.container == nullptr && !output.format.empty()) {
        refuse(output, "there is no output format '" + output.format +
                           "'; these are there: " + containerEndings() +
                           " by their endings or ffmpeg's names, and the endings of pictures");
    } else if (target.container == nullptr) {
        checkPictureName(output.file); // throws with all the endings
    }
    return target;
}

// What only a video has.
void checkVideoOptions(const ClipOutput& output, const Target& target) {
    if (target.container == nullptr) {
        for (const auto& [option, text] :
             {std::pair("--codec", output.codec),
              std::pair("--output-pixel-format", output.pixelFormat),
              std::pair("--quality", std::string(output.quality ? "a quality" : ""))}) {
            if (!text.empty()) {
                refuse(output, std::string(option) + " is for video, not for pictures");
            }
        }
        return;
    }
    try {
        const VideoCodec& codec =
            chooseCodec(*target.container, output.codec, AV_CODEC_ID_NONE, false);
        if (!output.pixelFormat.empty() &&
            (!output.codec.empty() || target.container->codecs.size() == 1)) {
            const auto plain = owned(av_frame_alloc());
            choosePixelFormat(codec, output.pixelFormat, *plain);
        }
        if (output.quality && codec.qualityOption == nullptr && !output.codec.empty()) {
            throw Error(std::string(codec.name) + " has no --quality to choose");
        }
    } catch (const Error& error) {
        refuse(output, error.what());
    }
    if (target.pattern) {
        refuse(output, "a video is one file, without a number's place in its name");
    }
}

// One picture in a file. It waits until it is known that there is but one.
class StillWriter : public ClipWriter {
public:
    StillWriter(const ClipOutput& output, std::string ending)
        : mOutput(output), mEnding(std::move(ending)) {}

    void write(ClipItem&& item) override {
        if (!std::holds_alternative<ClipFrame>(item)) {
            return;
        }
        if (mPicture) {
            const std::string name = mOutput.file.stem().string();
            refuse(mOutput, "it holds one picture, and the input has more; write a sequence, '" +
                                name + ".%04d" + mOutput.file.extension().string() +
                                "' for one, or choose a frame with --frames");
        }
        mPicture = std::move(std::get<ClipFrame>(item).picture);
    }

    void finish() override {
        if (mPicture) {
            const std::string warning = writePicture(mOutput.file, *mPicture, mEnding);
            if (!warning.empty()) {
                mOutput.warn(warning);
            }
        }
    }

private:
    ClipOutput mOutput;
    std::string mEnding;
    std::optional<Picture> mPicture;
};

// A picture in a file for each frame.
class SequenceWriter : public ClipWriter {
public:
    SequenceWriter(const ClipOutput& output, SequencePattern pattern, std::string ending)
        : mOutput(output), mPattern(std::move(pattern)), mEnding(std::move(ending)) {}

    void write(ClipItem&& item) override {
        const auto* frame = std::get_if<ClipFrame>(&item);
        if (frame == nullptr) {
            return;
        }
        const std::string warning =
            writePicture(mPattern.file(frame->number), frame->picture, mEnding);
        if (!warning.empty() && !std::exchange(mHasWarned, true)) {
            mOutput.warn(warning + ", and so on");
        }
    }

    void finish() override {}

private:
    ClipOutput mOutput;
    SequencePattern mPattern;
    std::string mEnding;
    bool mHasWarned = false;
};

// Pictures one after the other into a pipe.
class PicturePipe : public ClipWriter {
public:
    PicturePipe(const ClipOutput& output, std::string ending)
        : mOutput(output), mEnding(std::move(ending)) {}

    void write(ClipItem&& item) override {
        const auto* frame = std::get_if<ClipFrame>(&item);
        if (frame == nullptr) {
            return;
        }
        if (!mHasWarned && !pictureKeepsAlpha(mEnding) && hasAlpha(frame->picture.world)) {
            mHasWarned = true;
            mOutput.warn(mEnding + " has no transparency: the alpha is lost");
        }
        try {
            send(encodedPicture(mEnding, frame->picture));
        } catch (const Error& error) {
            refuse(mOutput, error.what());
        }
    }

    void finish() override {}

private:
    void send(const std::vector<std::uint8_t>& bytes) const {
        const int error = writeAll(mOutput.standardOutput, bytes.data(), bytes.size());
        if (error != 0) {
            throw Error(std::generic_category().message(error));
        }
    }

    ClipOutput mOutput;
    std::string mEnding;
    bool mHasWarned = false;
};

} // namespace

void checkClipOutput(const ClipOutput& output) {
    const Target target = targetOf(output);
    checkVideoOptions(output, target);
}

std::unique_ptr<ClipWriter> openClipWriter(const ClipOutput& output, const ClipInput& input,
                                           const ClipReader& reader) {
    checkClipOutput(output);
    const Target target = targetOf(output);
    if (target.container != nullptr) {
        const bool partial = !input.frames.all();
        return std::make_unique<VideoWriter>(output, *target.container, reader, partial);
    }
    if (output.file == "-") {
        return std::make_unique<PicturePipe>(output, target.ending);
    }
    checkReplaceable(target.pattern ? target.pattern->file(0) : output.file);
    if (target.pattern) {
        return std::make_unique<SequenceWriter>(output, *target.pattern, target.ending);
    }
    return std::make_unique<StillWriter>(output, target.ending);
}

} // namespace Vexorel::PrismDrift::Host

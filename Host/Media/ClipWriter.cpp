#include "Host/Library/ReplaceFile.h"
#include "Host/Library/Text.h"
#include "Host/Media/Clip.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/PixelConversion.h"
#include "Host/Media/SequencePattern.h"
#include "Host/Media/VideoWriter.h"

#include <set>
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

[[noreturn]] void refuse(const ClipOutput& output, ClipReason reason, ClipSetting setting,
                         const std::string& text) {
    throw ClipError(reason, {setting}, cannotWrite(output.file) + text);
}

Target findTarget(const ClipOutput& output) {
    Target target;
    const bool isPipe = output.file == "-";
    if (isPipe && output.format.empty()) {
        refuse(output, ClipReason::SettingNeeded, ClipSetting::OutputFormat,
               "it needs an output format, such as rawvideo, yuv4mpegpipe, matroska or png");
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
        refuse(output, ClipReason::ValueNotTaken, ClipSetting::OutputFormat,
               "there is no output format '" + output.format +
                   "'; these are there: " + containerEndings() +
                   " by their endings or ffmpeg's names, and the endings of pictures");
    } else if (target.container == nullptr) {
        checkPictureName(output.file); // throws with all the endings
    }
    return target;
}

void refuseVideoSettings(const ClipOutput& output) {
    struct VideoSetting {
        bool isSet;
        ClipSetting setting;
        const char* name;
    };
    const VideoSetting all[] = {
        {!output.codec.empty(), ClipSetting::Codec, "a codec"},
        {!output.pixelFormat.empty(), ClipSetting::OutputPixelFormat, "a pixel format"},
        {output.quality.has_value(), ClipSetting::Quality, "a quality"},
        {!output.encoderPreset.empty(), ClipSetting::EncoderPreset, "an encoder preset"}};
    for (const VideoSetting& video : all) {
        if (video.isSet) {
            refuse(output, ClipReason::SettingNotTaken, video.setting,
                   std::string(video.name) + " is for video, not for pictures");
        }
    }
}

void checkVideoSettings(const ClipOutput& output, const Target& target) {
    try {
        const VideoCodec& codec =
            chooseCodec(*target.container, output.codec, AV_CODEC_ID_NONE, false);
        if (!output.pixelFormat.empty()) {
            checkPixelFormat(*target.container, output.codec, output.pixelFormat);
        }
        if (!output.encoderPreset.empty()) {
            checkEncoderPreset(*target.container, output.codec, output.encoderPreset);
        }
        if (output.quality && codec.qualityOption == nullptr && !output.codec.empty()) {
            throw ClipError(ClipReason::SettingNotTaken, {ClipSetting::Quality},
                            std::string(codec.name) + " has no quality to choose");
        }
        if (target.pattern) {
            throw Error("a video is one file, without a number's place in its name");
        }
    } catch (const Error&) {
        rethrowWithPrefix(cannotWrite(output.file));
    }
}

// Throws where the output makes no sense.
Target checkedTarget(const ClipOutput& output) {
    Target target = findTarget(output);
    if (target.container != nullptr) {
        checkVideoSettings(output, target);
    } else {
        refuseVideoSettings(output);
    }
    return target;
}

PictureOutput pictureOutput(const ClipOutput& output, const std::string& ending) {
    return {ending, output.depth, output.dithers};
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
            refuse(mOutput, ClipReason::TooManyFrames, ClipSetting::Frames,
                   "it holds one picture, and the input has more; write a sequence, such as '" +
                       name + ".%04d" + mOutput.file.extension().string() +
                       "', or choose one frame");
        }
        mPicture = std::move(std::get<ClipFrame>(item).picture);
    }

    void finish() override {
        if (mPicture) {
            for (const std::string& loss :
                 writePicture(mOutput.file, *mPicture, pictureOutput(mOutput, mEnding))) {
                mOutput.warn(loss);
            }
        }
    }

private:
    ClipOutput mOutput;
    std::string mEnding;
    std::optional<Picture> mPicture;
};

// Warns of what each picture loses, once of each kind.
class PictureLosses {
public:
    explicit PictureLosses(const ClipOutput& output) : mOutput(output) {}

    // The lines begin with `name`, which the same line about another picture doesn't.
    void tell(const std::vector<std::string>& losses, const std::string& name,
              const std::string& end) {
        for (const std::string& loss : losses) {
            if (mTold.insert(loss.substr(name.size())).second) {
                mOutput.warn(loss + end);
            }
        }
    }

private:
    const ClipOutput& mOutput;
    std::set<std::string> mTold;
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
        const std::filesystem::path file = mPattern.file(frame->number);
        mLosses.tell(writePicture(file, frame->picture, pictureOutput(mOutput, mEnding)),
                     nameOf(file), ", and so on");
    }

    void finish() override {}

private:
    ClipOutput mOutput;
    SequencePattern mPattern;
    std::string mEnding;
    PictureLosses mLosses{mOutput};
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
        EncodedPicture encoded;
        try {
            encoded = encodedPicture(frame->picture, pictureOutput(mOutput, mEnding));
            send(encoded.bytes);
        } catch (const Error&) {
            rethrowWithPrefix(cannotWrite(mOutput.file));
        }
        mLosses.tell(encoded.losses, "", "");
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
    PictureLosses mLosses{mOutput};
};

} // namespace

void checkClipOutput(const ClipOutput& output) {
    checkedTarget(output);
}

std::unique_ptr<ClipWriter> openClipWriter(const ClipOutput& wanted, const ClipInput& input,
                                           const ClipReader& reader) {
    ClipOutput output = wanted;
    if (!output.warn) {
        output.warn = [](const std::string&) {};
    }
    const Target target = checkedTarget(output);
    if (target.container != nullptr) {
        const bool isPartial = !input.frames.all();
        return std::make_unique<VideoWriter>(output, *target.container, reader, isPartial);
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

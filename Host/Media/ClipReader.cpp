#include "Host/Media/Clip.h"
#include "Host/Media/ClipError.h"
#include "Host/Media/Demuxer.h"
#include "Host/Media/SequencePattern.h"
#include "Host/Media/StoredLayout.h"
#include "Host/Media/VideoReader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <utility>

extern "C" {
#include <libavutil/parseutils.h>
}

namespace Vexorel::PrismDrift::Host {
namespace {

void setFrameRate(ClipProperties& properties, const ClipInput& input) {
    if (!input.frameRate.empty()) {
        properties.frameRate = frameRateFrom(input.frameRate);
        properties.timeBase = {properties.frameRate.denominator, properties.frameRate.numerator};
    }
}

// A picture's file says what raw pixels don't.
void refuseRawSettings(const ClipInput& input) {
    struct RawSetting {
        const std::string& value;
        ClipSetting setting;
        const char* name;
    };
    const RawSetting all[] = {{input.videoSize, ClipSetting::VideoSize, "video size"},
                              {input.pixelFormat, ClipSetting::InputPixelFormat, "pixel format"},
                              {input.format, ClipSetting::InputFormat, "input format"}};
    for (const RawSetting& raw : all) {
        if (!raw.value.empty()) {
            throw ClipError(ClipReason::SettingNotTaken, {raw.setting},
                            cannotRead(input.file) + "a picture in a file takes no " + raw.name);
        }
    }
}

Picture copyOf(const Picture& picture) {
    return {.world = copyOf(picture.world),
            .colorProfile = picture.colorProfile,
            .source = picture.source,
            .depth = picture.depth,
            .isAssociated = picture.isAssociated,
            .readBy = picture.readBy,
            .extras = picture.extras};
}

// One picture in a file.
class StillReader : public ClipReader {
public:
    explicit StillReader(const ClipInput& input) : mInput(input) {
        setFrameRate(mProperties, input);
        mProperties.expected = 1;
    }

    const ClipProperties& properties() const override { return mProperties; }

    std::optional<ClipItem> next() override {
        if (mInput.frames.last().value_or(0) > 0) {
            throw Error("there is no frame " + std::to_string(*mInput.frames.last()) + ": '" +
                        mInput.file.string() + "' is one picture, frame 0");
        }
        if (std::exchange(mIsRead, true)) {
            return std::nullopt;
        }
        return ClipFrame{readPicture(mInput.file, mInput.limits, mInput.picture), 0, 0, 0, 1};
    }

    std::optional<std::int64_t> frameCount() override { return 1; }
    std::int64_t frameAt(double seconds) override {
        return nearestFrame(seconds, mProperties.frameRate);
    }

private:
    ClipInput mInput;
    ClipProperties mProperties;
    bool mIsRead = false;
};

// Pictures in numbered files.
class SequenceReader : public ClipReader {
public:
    SequenceReader(const ClipInput& input, SequencePattern pattern)
        : mInput(input), mPattern(std::move(pattern)), mNumbers(mPattern.existingNumbers()) {
        if (mNumbers.empty()) {
            throw Error(cannotRead(input.file) + "there is no file of such a name, '" +
                        mPattern.file(1).string() + "' for one");
        }
        mInput.limits.isStopped = &mIsStopped; // a file of its may be a named pipe
        mInput.limits.warn = [this, warn = input.limits.warn](const Error& left) {
            warnOnce(warn, left);
        };
        setFrameRate(mProperties, input);
        mProperties.kind = ClipKind::Sequence;
        mProperties.expected = countChosen();
    }

    const ClipProperties& properties() const override { return mProperties; }

    std::optional<ClipItem> next() override {
        if (!mNext) {
            return std::nullopt;
        }
        const std::int64_t number = *mNext;
        mNext = chosenAfter(number);
        const std::int64_t index = number - mNumbers.front();
        return ClipFrame{pictureFor(heldFor(number)), index, number, index, 1};
    }

    std::optional<std::int64_t> frameCount() override {
        return mNumbers.back() - mNumbers.front() + 1;
    }

    std::int64_t frameAt(double seconds) override {
        return nearestFrame(seconds, mProperties.frameRate);
    }

    void stop() override { mIsStopped = true; }

private:
    bool exists(std::int64_t number) const {
        return std::binary_search(mNumbers.begin(), mNumbers.end(), number);
    }

    // What is left out of one picture may be of all: each kind is told of at the first one.
    void warnOnce(const std::function<void(const Error&)>& warn, const Error& left) {
        const auto* large = dynamic_cast<const ClipError*>(&left);
        std::string kind = left.what();
        if (const std::size_t at = kind.find(mReading); at != std::string::npos) {
            kind.erase(at, mReading.size());
        }
        if (!warn || !mTold.insert(kind).second) {
            return;
        }
        const std::string text = left.what() + std::string(", and so on");
        if (large != nullptr) {
            warn(ClipError(large->reason(), large->settings(), text));
        } else {
            warn(Error(text));
        }
    }

    // A picture that is held for the next number too is kept in memory: its file may have been
    // overwritten by then.
    Picture pictureFor(std::int64_t held) {
        const std::filesystem::path file = mPattern.file(held);
        mReading = nameOf(file);
        Picture picture = mKept && mKeptNumber == held
                              ? std::move(*mKept)
                              : readPicture(file, mInput.limits, mInput.picture);
        mKept.reset();
        if (mInput.missing == Missing::Hold && mNext && heldFor(*mNext) == held) {
            mKept = copyOf(picture);
            mKeptNumber = held;
        }
        return picture;
    }

    // The number whose picture is shown at this one.
    std::int64_t heldFor(std::int64_t number) const {
        return *std::prev(std::upper_bound(mNumbers.begin(), mNumbers.end(), number));
    }

    // The next number to read. Called for all numbers at first, so that a missing picture is
    // refused before any is drawn.
    std::optional<std::int64_t> chosenAfter(std::int64_t number) const {
        for (auto next = mInput.frames.after(number); next; next = mInput.frames.after(*next)) {
            if (mInput.frames.all() && *next > mNumbers.back()) {
                return std::nullopt;
            }
            if (exists(*next)) {
                return next;
            }
            const bool inside = *next > mNumbers.front() && *next < mNumbers.back();
            if (mInput.missing == Missing::Refuse || !inside) {
                refuse(*next);
            }
            if (mInput.missing == Missing::Hold) {
                return next;
            }
        }
        return std::nullopt;
    }

    [[noreturn]] void refuse(std::int64_t number) const {
        const std::string name = "'" + mPattern.file(number).string() + "' is missing";
        if (number < mNumbers.front() || number > mNumbers.back()) {
            throw Error(name + ": the sequence has the frames " + std::to_string(mNumbers.front()) +
                        " to " + std::to_string(mNumbers.back()));
        }
        throw ClipError(ClipReason::FrameMissing, {ClipSetting::Missing}, name);
    }

    std::int64_t countChosen() {
        const std::int64_t before = mInput.frames.all() ? mNumbers.front() - 1 : -1;
        mNext = chosenAfter(before);
        std::int64_t count = 0;
        for (auto number = mNext; number; number = chosenAfter(*number)) {
            ++count;
        }
        return count;
    }

    std::atomic<bool> mIsStopped = false;
    std::string mReading;        // the file's name for messages
    std::set<std::string> mTold; // of what is left out, without the files' names
    ClipInput mInput;
    SequencePattern mPattern;
    std::vector<std::int64_t> mNumbers;
    ClipProperties mProperties;
    std::optional<std::int64_t> mNext;
    std::optional<Picture> mKept;
    std::int64_t mKeptNumber = 0;
};

} // namespace

std::int64_t nearestFrame(double seconds, const Ratio& frameRate) {
    return std::llrint(seconds * frameRate.numerator / frameRate.denominator);
}

Ratio frameRateFrom(const std::string& text) {
    AVRational rate = {0, 1};
    constexpr int highest = 100000;
    if (av_parse_video_rate(&rate, text.c_str()) < 0 || rate.num <= 0 ||
        rate.num / rate.den > highest) {
        throw ClipError(ClipReason::ValueNotTaken, {ClipSetting::FrameRate},
                        "'" + text +
                            "' is no frame rate: a number above 0 and up to 100000 such as 25 or "
                            "23.976, a fraction such as 30000/1001, or a name such as ntsc is "
                            "taken");
    }
    return {rate.num, rate.den};
}

std::unique_ptr<ClipReader> openClip(const ClipInput& input) {
    checkClipInput(input);
    if (auto pattern = SequencePattern::ofInput(input.file)) {
        refuseRawSettings(input);
        return std::make_unique<SequenceReader>(input, std::move(*pattern));
    }
    if (input.missing != Missing::Refuse) {
        throw ClipError(ClipReason::SettingNotTaken, {ClipSetting::Missing},
                        cannotRead(input.file) +
                            "only a sequence, whose name holds a number's place such as %04d, "
                            "can skip or hold missing frames");
    }
    if (input.file != "-" && input.format.empty() && isStillPicture(input.file)) {
        refuseRawSettings(input);
        return std::make_unique<StillReader>(input);
    }
    auto video = std::make_unique<VideoReader>(input);
    if (!input.picture.layer.empty()) {
        throw ClipError(ClipReason::SettingNotTaken, {ClipSetting::Layer},
                        cannotRead(input.file) + "it has no layer '" + input.picture.layer +
                            "': only pictures have layers");
    }
    return video;
}

} // namespace Vexorel::PrismDrift::Host

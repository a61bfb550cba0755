#pragma once

/// Values that change over time, written as MLT writes its animations: "0=0; 25~=40; 50|=80; -1=0".
/// A key is a time, how to go on from it ('=' straight, '~=' smooth, '|=' not at all until the
/// next) and a value.

#include "Host/Library/Error.h"
#include "Host/Library/FrameTime.h"
#include "Host/Library/Parameter.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// What turns the times of keyframes into frames, which count from 0 at the clip's first.
struct ClipTiming {
    /// How many there are; nothing where nobody knows, as of a pipe. Asked only if a time counts
    /// from the end, since it may take a look through the whole clip.
    std::function<std::optional<std::int64_t>()> frameCount;
    /// The one nearest to that many seconds from the start, of two as near the even one, as MLT
    /// rounds; also behind the last.
    std::function<std::int64_t(double seconds)> frameAt;
};

/// A text that is no keyframes; what() says what is wrong and what would be right.
class KeyframesError : public Error {
public:
    KeyframesError(const std::string& reason, std::string_view text, std::size_t place);

    /// Two lines, indented: the text, or of a long one what is near, and a caret under the place.
    const std::string& shown() const { return mShown; }
    /// The byte of the text that is wrong, its length if something is missing at its end.
    std::size_t place() const { return mPlace; }

private:
    std::string mShown;
    std::size_t mPlace;
};

/// When a key is: a number of frames and of seconds from the start, or back from the end, where 1
/// frame back is the last.
struct KeyTime {
    std::int64_t frames = 0;
    double seconds = 0.0;
    bool fromEnd = false;
};

/// Whether a text is to be read as keyframes, right or wrong, rather than as a single value.
inline bool looksLikeKeyframes(std::string_view text) {
    return text.find_first_of("=;") != std::string_view::npos;
}

/// One or more keys, each with a value that the parameter takes. Their order is free.
class Keyframes {
public:
    /// Throws KeyframesError; also for two keys with the same time.
    static Keyframes parse(std::string_view text, const Parameter& parameter);

    /// As it was written, without white space around.
    const std::string& text() const { return mText; }

    /// The value at each frame of a clip: before the first key that of the first, after the last
    /// that of the last. A smooth way is a Catmull-Rom curve, which may leave the parameter's
    /// range. Throws Error where a time counts from an unknown end or back beyond the clip's start,
    /// and where two keys come onto one frame; in a clip of one frame, of a key
    /// from the start and one from the end that do, the later in the text stands.
    ValueSource resolved(const ClipTiming& timing) const;

private:
    enum class Way { Straight, Smooth, Hold };
    struct Key {
        KeyTime time;
        std::size_t place, length; // of the time in the text
        Way way;
        double value;
    };
    struct Point {
        std::int64_t frame;
        Way way;
        double value;
    };
    class Parser;

    std::string written(const Key& key) const { return mText.substr(key.place, key.length); }
    std::int64_t frameOf(const Key& key, const ClipTiming& timing) const;
    static double at(const std::vector<Point>& points, double frame);

    std::string mText;
    std::vector<Key> mKeys;
};

} // namespace Vexorel::PrismDrift::Host

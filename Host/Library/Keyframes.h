#pragma once

/// Values that change over time, written as MLT writes its animations: "0=0; 25~=40; 50|=80; -1=0".
/// A key is a time, a mark and a value. The mark says how the value changes until the next key: '='
/// in a straight line, '~=' along a smooth curve, '|=' not at all.

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

/// How a clip turns the times of keyframes into frames, which count from 0 at the clip's first.
struct ClipTiming {
    /// How many frames there are; nothing if that is unknown, as of a pipe. Called only for a time
    /// that counts from the end, since finding out may mean reading the whole clip.
    std::function<std::optional<std::int64_t>()> frameCount;
    /// The frame that is nearest to that many seconds from the start; the even one if two are
    /// equally near, as MLT rounds. Goes on beyond the last frame.
    std::function<std::int64_t(double seconds)> frameAt;
};

/// A text that can't be read as keyframes; what() says what is wrong and what would be right.
class KeyframesError : public Error {
public:
    KeyframesError(const std::string& reason, std::string_view text, std::size_t place);

    /// Two indented lines: the text, or the part of a long one around the place, and a caret under
    /// the place.
    const std::string& shown() const { return mShown; }
    /// Where the text is wrong, in bytes from its start; its length if its end is missing.
    std::size_t place() const { return mPlace; }

private:
    std::string mShown;
    std::size_t mPlace;
};

/// The time of a key: frames and seconds, added up, from the start; or back from the end, where one
/// frame back is the last frame.
struct KeyTime {
    std::int64_t frames = 0;
    double seconds = 0.0;
    bool fromEnd = false;
};

/// Whether a text is to be read as keyframes, right or wrong, rather than as a single value.
inline bool looksLikeKeyframes(std::string_view text) {
    return text.find_first_of("=;") != std::string_view::npos;
}

/// One or more keys, in any order, each with a value that the parameter accepts.
class Keyframes {
public:
    /// Throws KeyframesError, also for two keys with the same time.
    static Keyframes parse(std::string_view text, const Parameter& parameter);

    /// The text that was parsed, without white space at its ends.
    const std::string& text() const { return mText; }

    /// The value at each frame of a clip: before the first key the first value, after the last key
    /// the last. A smooth curve is a Catmull-Rom spline, which may leave the parameter's range.
    ///
    /// Throws Error where a time counts from the unknown end of a clip or back beyond its start,
    /// and for two keys on one frame. Only in a clip of one frame may a key that counts from the
    /// start meet one that counts from the end: the later one in the text applies.
    ValueSource resolved(const ClipTiming& timing) const;

private:
    enum class Interpolation { Linear, Smooth, Hold }; // until the next key
    struct Key {
        KeyTime time;
        std::size_t place, length; // of the time in the text
        Interpolation interpolation;
        double value;
    };
    struct Point {
        std::int64_t frame;
        Interpolation interpolation;
        double value;
    };
    class Parser;

    std::string timeText(const Key& key) const { return mText.substr(key.place, key.length); }
    std::int64_t frameOf(const Key& key, const ClipTiming& timing) const;
    static double valueAt(const std::vector<Point>& points, double frame);

    std::string mText;
    std::vector<Key> mKeys;
};

} // namespace Vexorel::PrismDrift::Host

#include "Host/Library/Keyframes.h"

#include "Host/Library/Number.h"
#include "Host/Library/Text.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

constexpr double largestTime = std::numeric_limits<std::int32_t>::max(); // frames or seconds

// The text's UTF-8 characters, each in a column of its own; blanks for what isn't visible.
std::vector<std::string_view> columnsOf(std::string_view text) {
    std::vector<std::string_view> columns;
    while (!text.empty()) {
        const std::size_t length = visibleLength(text);
        columns.push_back(length > 0 ? text.substr(0, length) : " ");
        text.remove_prefix(std::max<std::size_t>(1, length));
    }
    return columns;
}

std::string withCaret(std::string_view text, std::size_t place) {
    constexpr std::size_t before = 40, width = 72;
    const std::vector<std::string_view> columns = columnsOf(text);
    const std::size_t caret = columnsOf(text.substr(0, place)).size();
    const std::size_t first = columns.size() > width && caret > before ? caret - before : 0;
    const std::size_t last = std::min(columns.size(), first + width);
    std::string line = first > 0 ? "  ..." : "  ";
    const std::size_t indent = line.size() + caret - first;
    for (std::size_t i = first; i < last; ++i) {
        line += columns[i];
    }
    return line + (last < columns.size() ? "..." : "") + "\n" + std::string(indent, ' ') + "^";
}

// A number of digits, and of a decimal point if `allowsFraction`; nothing for another text or more
// than the largest time.
std::optional<double> unsignedNumber(std::string_view text, bool allowsFraction) {
    const char* allowed = allowsFraction ? "0123456789." : "0123456789";
    const auto number = text.find_first_not_of(allowed) == std::string_view::npos
                            ? parseNumber(text)
                            : std::nullopt;
    return number && *number <= largestTime ? number : std::nullopt;
}

// Hours, minutes and seconds as in "01:02:03.5", or with frames after them as in "01:02:03:12";
// fields may be missing at the front.
std::optional<KeyTime> clockTime(std::string_view text) {
    const bool isFraction = text.find('.') != std::string_view::npos;
    const std::size_t fields = isFraction ? 3 : 4; // at most
    double seconds = 0.0;
    for (std::size_t i = 0; i < fields; ++i) {
        const std::size_t end = text.find(':');
        const bool isLast = end == std::string_view::npos;
        const auto number = unsignedNumber(text.substr(0, end), isLast && isFraction);
        if (!number) {
            return std::nullopt;
        }
        if (isLast) {
            return isFraction ? KeyTime{0, seconds * 60 + *number}
                              : KeyTime{static_cast<std::int64_t>(*number), seconds};
        }
        seconds = seconds * 60 + *number;
        text.remove_prefix(end + 1);
    }
    return std::nullopt;
}

std::optional<KeyTime> unsignedTime(std::string_view text) {
    if (text.find(':') != std::string_view::npos) {
        return clockTime(text);
    }
    const bool isSeconds = !text.empty() && text.back() == 's';
    if (isSeconds) {
        text.remove_suffix(1);
    }
    const auto number = unsignedNumber(text, isSeconds);
    if (!number) {
        return std::nullopt;
    }
    return isSeconds ? KeyTime{0, *number} : KeyTime{static_cast<std::int64_t>(*number), 0.0};
}

std::optional<KeyTime> keyTime(std::string_view text) {
    const bool isNegative = !text.empty() && text[0] == '-';
    if (isNegative || (!text.empty() && text[0] == '+')) {
        text.remove_prefix(1);
    }
    std::optional<KeyTime> time = unsignedTime(text);
    if (!time || time->seconds > largestTime) {
        return std::nullopt;
    }
    time->fromEnd = isNegative && (time->frames > 0 || time->seconds > 0.0);
    return time;
}

bool isSame(const KeyTime& left, const KeyTime& right) {
    return left.frames == right.frames && left.seconds == right.seconds &&
           left.fromEnd == right.fromEnd;
}

// From `from` at t = 0 to `to` at t = 1; at each of them the curve's slope is that of the line
// between its two neighbours.
double catmullRom(double before, double from, double to, double after, double t) {
    const double cubic = -0.5 * before + 1.5 * from - 1.5 * to + 0.5 * after;
    const double square = before - 2.5 * from + 2.0 * to - 0.5 * after;
    const double slope = -0.5 * before + 0.5 * to;
    return ((cubic * t + square) * t + slope) * t + from;
}

} // namespace

KeyframesError::KeyframesError(const std::string& reason, std::string_view text, std::size_t place)
    : Error(reason), mShown(withCaret(text, place)), mPlace(place) {}

// Reads the text key by key.
class Keyframes::Parser {
public:
    Parser(std::string_view text, const Parameter& parameter)
        : mText(text), mParameter(parameter) {}

    std::vector<Key> keys() {
        do {
            skipWhiteSpace();
            Key next{};
            readTime(next);
            next.interpolation = interpolation();
            next.value = value();
            mKeys.push_back(next);
            mPlace += mPlace < mText.size() ? 1 : 0; // the ';'
        } while (!trimmed(mText.substr(mPlace)).empty());
        return std::move(mKeys);
    }

private:
    [[noreturn]] void refuse(const std::string& reason, std::size_t place) const {
        throw KeyframesError(reason, mText, place);
    }

    void skipWhiteSpace() {
        mPlace = std::min(mText.find_first_not_of(whiteSpace, mPlace), mText.size());
    }

    void readTime(Key& key) {
        const std::size_t end =
            std::min(mText.find_first_not_of("0123456789+-.:s", mPlace), mText.size());
        key.place = mPlace;
        key.length = end - mPlace;
        const std::string_view text = mText.substr(mPlace, key.length);
        const auto time = keyTime(text);
        if (!time) {
            refuse(
                "a key begins with its time: a frame (25), a clock time (00:00:01.000) or seconds "
                "(1.5s); '-' before it counts from the end; the largest is 2147483647",
                mPlace);
        }
        const bool isTaken = std::any_of(mKeys.begin(), mKeys.end(), [&](const Key& other) {
            return isSame(other.time, *time);
        });
        if (isTaken) {
            refuse("two keys have the time '" + std::string(text) + "'", mPlace);
        }
        key.time = *time;
        mPlace = end;
        skipWhiteSpace();
    }

    Interpolation interpolation() {
        const std::string_view rest = mText.substr(mPlace);
        const bool isMarked = rest.substr(0, 2) == "|=" || rest.substr(0, 2) == "~=";
        if (!isMarked && rest.substr(0, 1) != "=") {
            refuse("keyframes need '=', '|=' or '~=' between time and value", mPlace);
        }
        mPlace += isMarked ? 2 : 1;
        return !isMarked        ? Interpolation::Linear
               : rest[0] == '|' ? Interpolation::Hold
                                : Interpolation::Smooth;
    }

    double value() {
        skipWhiteSpace();
        const std::size_t end = std::min(mText.find(';', mPlace), mText.size());
        const std::string_view text = trimmed(mText.substr(mPlace, end - mPlace));
        const auto number = parseNumber(text);
        if (!number || !mParameter.accepts(*number)) {
            refuse("a key takes " + mParameter.takes() +
                       (text.empty() ? ", which is missing" : ", not '" + std::string(text) + "'"),
                   mPlace);
        }
        mPlace = end;
        return *number;
    }

    std::string_view mText;
    const Parameter& mParameter;
    std::size_t mPlace = 0;
    std::vector<Key> mKeys;
};

Keyframes Keyframes::parse(std::string_view text, const Parameter& parameter) {
    Keyframes keyframes;
    keyframes.mText = trimmed(text);
    keyframes.mKeys = Parser(keyframes.mText, parameter).keys();
    return keyframes;
}

std::int64_t Keyframes::frameOf(const Key& key, const ClipTiming& timing) const {
    const KeyTime& time = key.time;
    const std::int64_t frames =
        time.frames + (time.seconds > 0.0 ? timing.frameAt(time.seconds) : 0);
    if (!time.fromEnd) {
        return frames;
    }
    const auto count = timing.frameCount();
    if (!count) {
        throw Error("the key at '" + timeText(key) +
                    "' counts from the end, which is not known of a pipe: count from the start");
    }
    if (frames > *count) {
        throw Error("the key at '" + timeText(key) +
                    "' lies before the start of the clip, which has " + std::to_string(*count) +
                    (*count == 1 ? " frame" : " frames"));
    }
    return *count - frames;
}

double Keyframes::valueAt(const std::vector<Point>& points, double frame) {
    const auto after =
        std::upper_bound(points.begin(), points.end(), frame, [](double now, const Point& point) {
            return now < static_cast<double>(point.frame);
        });
    if (after == points.begin()) {
        return points.front().value;
    }
    const auto before = after - 1;
    if (after == points.end() || before->interpolation == Interpolation::Hold) {
        return before->value;
    }
    const double t = (frame - static_cast<double>(before->frame)) /
                     static_cast<double>(after->frame - before->frame);
    if (before->interpolation == Interpolation::Linear) {
        return before->value + (after->value - before->value) * t;
    }
    const auto first = before == points.begin() ? before : before - 1;
    const auto last = after + 1 == points.end() ? after : after + 1;
    return catmullRom(first->value, before->value, after->value, last->value, t);
}

ValueSource Keyframes::resolved(const ClipTiming& timing) const {
    std::vector<std::pair<std::int64_t, const Key*>> order;
    for (const Key& key : mKeys) {
        order.emplace_back(frameOf(key, timing), &key);
    }
    std::sort(order.begin(), order.end());
    std::vector<Point> points;
    const Key* previous = nullptr;
    for (const auto& [frame, key] : order) {
        if (previous != nullptr && points.back().frame == frame) {
            // The only frame of a picture is both its first and its last, where the keys of a
            // preset for clips may meet.
            if (previous->time.fromEnd == key->time.fromEnd || timing.frameCount() != 1) {
                throw Error("the keys at '" + timeText(*previous) + "' and '" + timeText(*key) +
                            "' are both at frame " + std::to_string(frame));
            }
            points.pop_back();
        }
        points.push_back({frame, key->interpolation, key->value});
        previous = key;
    }
    // Shared, so that copies of the source are cheap.
    auto shared = std::make_shared<const std::vector<Point>>(std::move(points));
    return [shared = std::move(shared)](const FrameTime& time) {
        return valueAt(*shared, static_cast<double>(time.value) / time.step);
    };
}

} // namespace Vexorel::PrismDrift::Host

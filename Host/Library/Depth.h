#pragma once

/// How finely the channels of pixels are stored.

#include <optional>
#include <string>

namespace Vexorel::PrismDrift::Host {

struct Depth {
    int bits = 8; ///< of the deepest channel
    bool isFloat = false;

    /// Whether worlds of 8 bits would lose something.
    bool isDeep() const { return bits > 8; }
    /// Whether every value of the other depth is a value of this one.
    bool holds(const Depth& other) const {
        constexpr int bitsOfHalf = 16;
        constexpr int wholeBitsOfHalf = 11;
        constexpr int wholeBitsOfFloat = 24;
        if (!isFloat || other.isFloat) {
            return isFloat == other.isFloat && bits >= other.bits;
        }
        return other.bits <= (bits > bitsOfHalf ? wholeBitsOfFloat : wholeBitsOfHalf);
    }
    bool operator==(const Depth& other) const {
        return bits == other.bits && isFloat == other.isFloat;
    }
};

/// Which worlds pictures are read into.
enum class WorldDepth {
    Bits8,  ///< of 8 bits
    Stored, ///< of floats where the file has more than 8 bits a channel, else of 8 bits
    Floats  ///< of floats
};

constexpr Depth halfFloats{16, true};
constexpr Depth floats{32, true};

/// For messages, to follow "has" or "holds": "10 bits a channel", "half floats".
inline std::string textOf(const Depth& depth) {
    if (!depth.isFloat) {
        return std::to_string(depth.bits) + " bits a channel";
    }
    return depth.bits <= halfFloats.bits ? "half floats"
           : depth.bits <= floats.bits   ? "floats"
                                         : "floats of double precision";
}

/// To follow a line that says that such pixels become others.
inline std::string cutOff(const Depth& from, const Depth& into) {
    return from.isFloat && !into.isFloat ? ": what lies beyond 0 to 1 is cut off" : "";
}

/// What gets lost where `holder`, a format or a codec, is written with pixels that hold so much,
/// for an input of the depth `own`: "JPEG holds 8 bits a channel, not 16", or what was asked for
/// costs: "the input has 16 bits a channel; 8 bits a channel are kept". Empty for nothing.
inline std::string depthLoss(const std::string& holder, const Depth& held,
                             const std::optional<Depth>& asked, const Depth& own) {
    const Depth wanted = asked.value_or(own);
    if (!held.holds(wanted)) {
        return holder + " holds " + textOf(held) + ", not " +
               (wanted.isFloat ? textOf(wanted) : std::to_string(wanted.bits)) + cutOff(own, held);
    }
    if (!held.holds(own)) {
        return "the input has " + textOf(own) + "; " + textOf(held) + " are kept" +
               cutOff(own, held);
    }
    return "";
}

} // namespace Vexorel::PrismDrift::Host

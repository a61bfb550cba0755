#pragma once

/// A choice of a clip's frames: "10-99", "1-100x2,200".

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace Vexorel::PrismDrift::Host {

class FrameNumbers {
public:
    /// All frames.
    FrameNumbers() = default;

    /// Reads numbers, ranges FIRST-LAST and steps FIRST-LASTxSTEP, separated by commas. Nothing for
    /// another text, and for a range that runs backwards or whose step is 0.
    static std::optional<FrameNumbers> parse(std::string_view text);

    bool all() const { return mRanges.empty(); }
    bool contains(std::int64_t number) const;
    /// The greatest number that is chosen; nothing where all are.
    std::optional<std::int64_t> last() const;
    /// The least number that is chosen and greater than `number`.
    std::optional<std::int64_t> after(std::int64_t number) const;

private:
    struct Range {
        std::int64_t first = 0, last = 0, step = 1; // `last` is chosen
    };
    std::vector<Range> mRanges;
};

} // namespace Vexorel::PrismDrift::Host

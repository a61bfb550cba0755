#pragma once

/// The names of a sequence's pictures: "shot.%04d.png" or "shot.####.png".

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

class SequencePattern {
public:
    /// The pattern in a file's name: '%d', '%4d' or '%04d', or a row of '#', one for each digit.
    /// Beside it, "%%" stands for '%'. Nothing for a name without a number's place. Throws Error
    /// for a name with two, and for a '%' that is neither.
    static std::optional<SequencePattern> of(const std::filesystem::path& file);

    /// The same for a clip that is to be read: nothing for the name of a file that exists, whatever
    /// characters are in it.
    static std::optional<SequencePattern> ofInput(const std::filesystem::path& file);

    /// The file that holds the picture of this number.
    std::filesystem::path file(std::int64_t number) const;

    /// The numbers of the files that exist, in order. Throws Error where the folder can't be read.
    std::vector<std::int64_t> existingNumbers() const;

private:
    std::filesystem::path mFolder;
    std::string mBefore, mAfter;
    std::size_t mDigits = 1;
};

} // namespace Vexorel::PrismDrift::Host

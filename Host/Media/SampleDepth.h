#pragma once

/// Rows of values between floats, 0 to 1, and whole numbers, 0 to `full`. Internal to the media
/// library.

#include <cstdint>

namespace Vexorel::PrismDrift::Host {

/// Each value less `black`, divided once by `range`: beyond 0 to 1 where it is beyond them.
void toFloats(const std::uint16_t* from, int count, int black, int range, float* to);
void toFloats(const std::uint8_t* from, int count, float* to); ///< by 255

/// To the nearest, of two equally near ones the greater. What lies beyond 0 to 1 becomes its end,
/// and what is no number 0.
void toLevels(const float* from, int count, unsigned full, std::uint16_t* to);
void toLevels(const float* from, int count, std::uint8_t* to); ///< of 255

/// To one of the two levels around each value, by its place in the picture, so that areas keep
/// their mean. A value that is a level stays that level.
void toDitheredLevels(const float* from, int count, int y, std::uint8_t* to);

} // namespace Vexorel::PrismDrift::Host

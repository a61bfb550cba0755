#pragma once

/// Ordered dither: an even pattern by which values between two levels become the one or the other.

#include <array>

namespace Vexorel::PrismDrift::Host {

/// The pattern's columns, and its rows.
constexpr unsigned ditherSide = 8;

/// What is added to the values of a row's columns, in levels, before they are cut down to whole
/// ones: 0 to 1, both excluded, each place of the pattern another 64th. The same in every picture.
const std::array<float, ditherSide>& ditherRow(int y);

} // namespace Vexorel::PrismDrift::Host

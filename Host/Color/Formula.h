#pragma once

/// What a transfer function is made of: a simple part near 0, the formula proper, and proportional
/// growth beyond that. For values that aren't negative. Internal.

#include "Host/Color/Transfer.h"

namespace Vexorel::PrismDrift::Host {

struct Formula {
    using Function = double (*)(double);

    double codedToe, linearToe; ///< where the simple part ends
    double codedTop, linearTop; ///< where the formula ends
    Function toeToLinear, toeFromLinear, toLinear, fromLinear;
};

/// Not for linear values.
const Formula& formulaOf(Transfer transfer);

} // namespace Vexorel::PrismDrift::Host

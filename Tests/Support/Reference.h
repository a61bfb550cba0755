#pragma once

/// What the effect has to give, worked out on the processor in double precision from what it is
/// said to do, and a comparison with what it gave.

#include "Support/TestHost.h"

namespace Testing {

/// Compares the rows and columns that `actual` and `source` both have with what the host's settings
/// make of `source`, and fails the test at the first wrong value. Alpha has to be equal; a colour
/// one that the premultiplied target can hold, at most one of the target's steps away, which is 1
/// at full alpha. A colour that is read within 0.02 pixel of the seam of the wrapped picture is
/// left out: rounding decides on the side.
void expectPixels(const TestHost& host, World8& source, World8& actual);

} // namespace Testing

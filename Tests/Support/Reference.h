#pragma once

/// An independent computation of what the effect draws, on the processor in double precision.

#include "Support/TestHost.h"

namespace Testing {

/// Compares the rows and columns that `actual` and `source` both have with what the host's settings
/// make of `source`, and fails the test at the first wrong value. Alpha must be equal. A colour
/// must be one that the premultiplied target can hold, at most one of the target's steps away; at
/// full alpha a step is 1. A colour read within 0.02 pixel of the seam of the wrapped picture is
/// left out, because there rounding decides which side is read.
void expectPixels(const TestHost& host, World8& source, World8& actual);

} // namespace Testing

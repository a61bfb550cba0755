#pragma once

/// The effect for a program that links it in instead of loading the plug-in: its entry function and
/// where its messages go.

#include "PrismDrift/Sources/PrismDrift.h" // IWYU pragma: export
#include "Shared/GL/MessageSink.h"         // IWYU pragma: export

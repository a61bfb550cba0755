#pragma once

/// For a program that links the effect instead of loading the plug-in: the entry function, and the
/// choice of where the effect's messages go.

#include "PrismDrift/Sources/PrismDrift.h" // IWYU pragma: export
#include "Shared/GL/MessageSink.h"         // IWYU pragma: export

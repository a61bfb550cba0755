#pragma once

/// What an effect publishes, asked for without anything that drawing needs: what links no more than
/// this needs neither OpenGL nor the script engine.

#include "Host/Library/Parameter.h"

#include <memory>
#include <vector>

namespace Vexorel::PrismDrift::Host {

/// The effect's parameters in their order, `Parameter::index` counting from 1. It may use `suites`
/// meanwhile; null offers none. Throws Error if it refuses or if the parameters contradict each
/// other.
std::shared_ptr<const std::vector<Parameter>> publishedParameters(PF_EffectMain entry,
                                                                  SPBasicSuite* suites);

} // namespace Vexorel::PrismDrift::Host

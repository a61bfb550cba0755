#include "Host/Library/PublishedParameters.h"

#include "Host/Library/Callbacks.h"
#include "Host/Library/Error.h"

#include <utility>

namespace Vexorel::PrismDrift::Host {

std::shared_ptr<const std::vector<Parameter>> publishedParameters(PF_EffectMain entry,
                                                                  SPBasicSuite* suites) {
    std::vector<Parameter> parameters;
    PF_ProgressInfo command;
    command.published = &parameters;
    const PF_OutData out =
        give(entry, PF_Cmd_PARAMS_SETUP, command, suites, "publish its parameters");
    if (out.num_params != static_cast<std::int32_t>(parameters.size()) + 1) {
        throw Error("the effect announces " + std::to_string(out.num_params) +
                    " parameters, the input among them, and publishes " +
                    std::to_string(parameters.size()));
    }
    if (!command.openGroup.empty()) {
        throw Error("the effect's parameter group \"" + command.openGroup + "\" has no end");
    }
    return std::make_shared<const std::vector<Parameter>>(std::move(parameters));
}

} // namespace Vexorel::PrismDrift::Host

#include "Host/CommandLine/ChosenValues.h"

#include "Host/CommandLine/Preset.h"

namespace Vexorel::PrismDrift::CommandLine {
Host::ParameterValues chosenValues(const Host::HostedEffect& effect, const Arguments& arguments) {
    const auto apply = [&](Host::ParameterValues values) {
        for (const auto& [option, text] : arguments.values) {
            option->apply(text, values);
        }
        return values;
    };
    Host::ParameterValues values = apply(effect.defaultValues());
    if (!arguments.preset.empty()) {
        values = effect.defaultValues();
        loadPreset(arguments.preset, values);
        values = apply(std::move(values));
    }
    return values;
}

} // namespace Vexorel::PrismDrift::CommandLine

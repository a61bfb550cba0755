#include "Host/CommandLine/ChosenValues.h"

#include "Host/CommandLine/Preset.h"

namespace Vexorel::PrismDrift::CommandLine {

Host::ParameterValues chosenValues(const Host::HostedEffect& effect, const Arguments& arguments) {
    std::vector<ParameterSetting> settings;
    for (const auto& [option, text] : arguments.values) {
        for (ParameterSetting& setting : option->parse(text)) {
            settings.push_back(std::move(setting));
        }
    }
    Host::ParameterValues values = effect.defaultValues();
    if (!arguments.preset.empty()) {
        loadPreset(arguments.preset, values);
    }
    for (const ParameterSetting& setting : settings) {
        setting.apply(values);
    }
    return values;
}

} // namespace Vexorel::PrismDrift::CommandLine

#include "Host/CommandLine/ClipErrorText.h"

#include "Host/CommandLine/Options.h"
#include "Host/Media/ClipError.h"

namespace Vexorel::PrismDrift::CommandLine {
namespace {

std::string adviceFor(const Host::ClipError& error) {
    std::string options;
    for (const Host::ClipSetting setting : error.settings()) {
        options += (options.empty() ? "" : " and ") + optionFor(setting);
    }
    switch (error.reason()) {
    case Host::ClipReason::SettingNotTaken:
        return "; leave out " + options;
    case Host::ClipReason::SettingNeeded:
        return "; give " + options;
    case Host::ClipReason::ValueNotTaken:
        return " (" + options + ")";
    case Host::ClipReason::FrameMissing:
        return "; " + options + " skip leaves such frames out, " + options +
               " hold repeats the one before";
    case Host::ClipReason::TooManyFrames:
        return " with " + options;
    case Host::ClipReason::BeyondLimit:
        return "; " + options + " raises the limit";
    }
    return "";
}

} // namespace

std::string textWithOptions(const std::exception& error) {
    const auto* clipError = dynamic_cast<const Host::ClipError*>(&error);
    return error.what() + (clipError != nullptr ? adviceFor(*clipError) : "");
}

} // namespace Vexorel::PrismDrift::CommandLine

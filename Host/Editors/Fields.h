#pragma once

/// The effect's parameters as the panels of editors show them: in their own units. What is stored
/// is the shown number divided by the factor, since that is all that editors can do.

#include <string>
#include <vector>

namespace Vexorel::PrismDrift::Host {

struct Field {
    std::string property; ///< that projects store it under
    std::string name, hint;
    std::vector<std::string> choices;            ///< what is shown and stored; empty for a number
    bool varies = false;                         ///< whether it has keyframes
    double low = 0.0, high = 0.0, initial = 0.0; ///< as shown; `initial` may be a choice's index
    double factor = 1.0;
    int decimals = 0;
    std::string suffix;

    bool isList() const { return !choices.empty(); }
    /// The default as it is stored.
    std::string stored() const;
};

/// Of the frei0r module, by number. Throws Error where a number can't be shown as it is.
std::vector<Field> frei0rFields();
/// Of the OpenFX plug-in, by identifier.
std::vector<Field> openFxFields();

} // namespace Vexorel::PrismDrift::Host

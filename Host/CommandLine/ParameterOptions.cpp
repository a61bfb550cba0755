#include "Host/CommandLine/ParameterOptions.h"

#include "Host/CommandLine/Options.h"
#include "Host/CommandLine/Usage.h"
#include "Host/Library/Number.h"
#include "Host/Library/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <set>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

using Host::Keyframes;
using Host::KeyframesError;
using Host::looksLikeKeyframes;
using Host::Parameter;
using Host::ParameterKind;
using Host::ParameterValues;
using Host::parseNumber;

// "Shift Angle" becomes "--shift-angle".
std::string optionName(const std::string& published) {
    std::string name = "--";
    for (const char character : published) {
        if (std::isalnum(static_cast<unsigned char>(character)) != 0) {
            name += Host::lowerCase(character);
        } else if (name.back() != '-') {
            name += '-';
        }
    }
    return name == "--" ? "--parameter" : name;
}

// Gives another name to each option that is called as one of the program's or one before it:
// "--effect-quiet", "--effect-quiet-2".
void makeNamesUnique(std::vector<ParameterOption>& options) {
    std::set<std::string> taken;
    for (const Option& option : programOptions()) {
        taken.insert(option.name);
    }
    for (ParameterOption& option : options) {
        const std::string other = "--effect-" + option.name.substr(2);
        for (int number = 1; !taken.insert(option.name).second; ++number) {
            option.name = number == 1 ? other : other + "-" + std::to_string(number);
        }
    }
}

// What an effect's numbers count is in no record that it publishes: it is known by the name.
std::string unitOf(const Parameter& parameter) {
    struct Unit {
        const char* name;
        const char* unit;
    };
    constexpr std::array units = {Unit{"Shift Distance", "pixels"},
                                  Unit{"Channel Scale", "percent"}};
    if (parameter.kind == ParameterKind::Angle) {
        return "degrees";
    }
    for (const Unit& unit : units) {
        if (parameter.name == unit.name || parameter.group == unit.name) {
            return unit.unit;
        }
    }
    return "";
}

std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    });
    return text;
}

// "a number from 0 to 200, in percent".
std::string takesWithUnit(const Parameter& parameter) {
    const std::string unit = unitOf(parameter);
    return parameter.takes() + (unit.empty() ? "" : ", in " + unit);
}

// The same for the help of an option.
std::string takesOverTime(const Parameter& parameter) {
    return takesWithUnit(parameter) + (parameter.varies ? ", or keyframes" : "");
}

std::string valueNotation(const Parameter& parameter) {
    if (parameter.kind == ParameterKind::Popup) {
        return parameter.choiceText;
    }
    const std::string unit = unitOf(parameter);
    return unit.empty() ? "NUMBER" : upper(unit);
}

ParameterOption soloOption(const Parameter& parameter) {
    return {optionName(parameter.name),
            valueNotation(parameter),
            parameter.name + ": " + takesOverTime(parameter) +
                ". Default: " + parameter.valueText(parameter.initial),
            {&parameter}};
}

// Completes the option of a group from its members.
void describeGroup(ParameterOption& option) {
    std::string initial;
    for (const Parameter* member : option.members) {
        const std::string word = member->name.substr(0, member->name.find(' '));
        option.takes += (option.takes.empty() ? "" : ",") + word;
        initial += (initial.empty() ? "" : ",") + member->valueText(member->initial);
    }
    option.meaning = option.members.front()->group + ": each " +
                     takesOverTime(*option.members.front()) +
                     ", or one for all. Default: " + initial;
}

double parseValue(const Parameter& parameter, std::string_view text, std::string_view complaint) {
    if (parameter.kind == ParameterKind::Popup) {
        const auto found = std::find_if(
            parameter.choices.begin(), parameter.choices.end(),
            [&](const std::string& choice) { return Host::equalIgnoringCase(choice, text); });
        if (found != parameter.choices.end()) {
            return static_cast<double>(found - parameter.choices.begin()) + 1.0;
        }
        throw UsageError(std::string(complaint) + nearestHint(text, parameter.choices));
    }
    const auto number = parseNumber(text);
    if (!number || !parameter.accepts(*number)) {
        throw UsageError(std::string(complaint));
    }
    return *number;
}

Keyframes parseKeyframes(const Parameter& parameter, std::string_view text,
                         const std::string& option, const std::string& complaint) {
    if (!parameter.varies) {
        throw UsageError(complaint + ": it cannot change over time");
    }
    try {
        return Keyframes::parse(text, parameter);
    } catch (const KeyframesError& error) {
        throw UsageError(option + ": " + error.what(), error.shown());
    }
}

} // namespace

void ParameterSetting::apply(Host::ParameterValues& values) const {
    std::visit([&](const auto& number) { values.set(index, number); }, value);
}

std::vector<ParameterSetting> ParameterOption::parse(std::string_view text) const {
    std::string expected = takesWithUnit(*members.front());
    if (members.size() > 1) {
        expected = takes + ", each " + expected + ", or one for all";
    }
    const std::string complaint = name + " takes " + expected + ", not '" + std::string(text) + "'";
    const std::vector<std::string_view> parts = Host::split(text, ',');
    if (parts.size() != 1 && parts.size() != members.size()) {
        throw UsageError(complaint);
    }
    std::vector<ParameterSetting> settings;
    for (std::size_t i = 0; i < members.size(); ++i) {
        const std::string_view part = Host::trimmed(parts[parts.size() == 1 ? 0 : i]);
        if (looksLikeKeyframes(part)) {
            settings.push_back(
                {members[i]->index, parseKeyframes(*members[i], part, name, complaint)});
        } else {
            settings.push_back({members[i]->index, parseValue(*members[i], part, complaint)});
        }
    }
    return settings;
}

void ParameterOption::apply(std::string_view text, ParameterValues& values) const {
    for (const ParameterSetting& setting : parse(text)) {
        setting.apply(values);
    }
}

std::vector<ParameterOption> parameterOptions(const std::vector<Parameter>& parameters) {
    std::vector<ParameterOption> options;
    for (const Parameter& parameter : parameters) {
        if (parameter.kind == ParameterKind::GroupStart) {
            options.push_back({optionName(parameter.name), "", "", {}});
        } else if (parameter.hasValue() && parameter.group.empty()) {
            options.push_back(soloOption(parameter));
        } else if (parameter.hasValue()) {
            options.back().members.push_back(&parameter);
        } else if (options.back().members.empty()) {
            options.pop_back(); // an empty group
        } else {
            describeGroup(options.back());
        }
    }
    makeNamesUnique(options);
    return options;
}

std::string parameterTable(const std::vector<Parameter>& parameters) {
    using Row = std::array<std::string, 5>;
    std::vector<Row> rows = {{"Option", "Parameter", "Takes", "Default", "Keyframes"}};
    for (const ParameterOption& option : parameterOptions(parameters)) {
        for (const Parameter* member : option.members) {
            rows.push_back({option.name, Host::printable(member->fullName()),
                            Host::printable(takesWithUnit(*member)),
                            Host::printable(member->valueText(member->initial)),
                            member->varies ? "yes" : "no"});
        }
    }
    std::array<std::size_t, 5> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string table;
    for (const Row& row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            table += row[i] + std::string(widths[i] - row[i].size() + 2, ' ');
        }
        table += row.back() + "\n";
    }
    return table;
}

} // namespace Vexorel::PrismDrift::CommandLine

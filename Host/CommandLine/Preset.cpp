#include "Host/CommandLine/Preset.h"

#include "Host/CommandLine/ReadText.h"
#include "Host/CommandLine/Usage.h"
#include "Host/Library/Error.h"
#include "Host/Library/Number.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Vexorel::PrismDrift::CommandLine {
namespace {

using Host::Error;
using Host::Parameter;
using Host::ParameterValues;
using Json = nlohmann::ordered_json;

constexpr int formatVersion = 1;
constexpr std::size_t largestFile = 1U << 20U;
constexpr int deepest = 8; // objects in objects; the format itself has three

const char* const versionKey = "prismdrift";
const char* const parametersKey = "parameters";

std::string inQuotes(const std::string& text) {
    return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

// A value as messages show it.
std::string valueText(const Json& value) {
    constexpr std::size_t longest = 60;
    if (value.is_structured()) {
        return value.is_object() ? "an object" : "an array";
    }
    const std::string text = value.dump();
    std::size_t end = std::min(longest, text.size());
    while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end; // to where a character begins
    }
    return end < text.size() ? text.substr(0, end) + "..." : text;
}

// "A, B and C", quoted.
std::string quotedList(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text += i == 0 ? "" : (i + 1 == names.size() ? " and " : ", ");
        text += inQuotes(names[i]);
    }
    return text;
}

// `where` is empty or names the group.
[[noreturn]] void refuseKey(const std::string& key, const std::string& where,
                            const std::vector<std::string>& known) {
    const std::string hint = nearestHint(key, known);
    throw Error("unknown key " + inQuotes(key) + (where.empty() ? "" : " in " + inQuotes(where)) +
                (hint.empty() ? "; it takes " + quotedList(known) : hint));
}

// The JSON library's message without the text that it quotes, which may be long or binary.
std::string reasonIn(const std::string& message) {
    const std::size_t start = std::min(message.find("syntax error"), message.size());
    const std::size_t read = message.find("; last read: '", start);
    const std::size_t expected = message.rfind("; expected ");
    return message.substr(start, read - start) +
           (read < expected && expected != std::string::npos ? message.substr(expected) : "");
}

// "line 3, column 14" of a byte counted from 1.
std::string placeOf(const std::string& text, std::size_t byte) {
    const std::string before = text.substr(0, byte == 0 ? 0 : byte - 1);
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 on the first line
    return "line " + std::to_string(1 + std::count(before.begin(), before.end(), '\n')) +
           ", column " + std::to_string(1 + before.size() - lineStart);
}

// Refuses what the JSON library accepts silently: a repeated key, and deep nesting.
class ParseGuard {
public:
    bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
        using Event = Json::parse_event_t;
        if (depth > deepest) {
            throw Error("it is nested more than " + std::to_string(deepest) + " deep");
        }
        if (event == Event::object_start) {
            mKeys.emplace_back();
        } else if (event == Event::object_end) {
            mKeys.pop_back();
        } else if (event == Event::key) {
            mKey = parsed.get<std::string>();
            if (!mKeys.back().insert(mKey).second) {
                throw Error("the key " + inQuotes(mKey) + " appears twice");
            }
        }
        return true;
    }

    const std::string& key() const { return mKey; } // the last one

private:
    std::vector<std::set<std::string>> mKeys; // of the objects that are not closed yet
    std::string mKey;
};

Json parse(const std::string& text) {
    if (text.size() > largestFile) {
        throw Error("it is larger than 1 MiB");
    }
    ParseGuard guard;
    try {
        return Json::parse(text, std::ref(guard));
    } catch (const Json::parse_error& error) {
        throw Error("it is not JSON at " + placeOf(text, error.byte) + ": " +
                    reasonIn(error.what()));
    } catch (const Json::out_of_range&) {
        throw Error(inQuotes(guard.key()) + " has a number that is too large for any parameter");
    }
}

// A member that must be an object.
const Json& objectAt(const Json& parent, const std::string& key, const std::string& takes) {
    const Json& value = parent.at(key);
    if (!value.is_object()) {
        throw Error(inQuotes(key) + " takes " + takes + ", not " + valueText(value));
    }
    return value;
}

void checkOutline(const Json& preset) {
    if (!preset.is_object()) {
        throw Error("it is not a preset: it takes an object, not " + valueText(preset));
    }
    const std::vector<std::string> keys = {versionKey, parametersKey};
    for (const auto& [key, value] : preset.items()) {
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
            refuseKey(key, "", keys);
        }
    }
    for (const std::string& key : keys) {
        if (!preset.contains(key)) {
            throw Error("it is not a preset: the key " + inQuotes(key) + " is missing");
        }
    }
    const Json& version = preset[versionKey];
    if (version.is_number_unsigned() && version > formatVersion) {
        throw Error("it has version " + version.dump() + ", and this program reads version 1");
    }
    if (version != formatVersion) {
        throw Error(inQuotes(versionKey) + " takes the version 1, not " + valueText(version));
    }
}

// The keys of a group's object, or of that of all parameters for an empty name.
std::vector<std::string> keysOf(const std::string& group,
                                const std::vector<Parameter>& parameters) {
    std::vector<std::string> keys;
    for (const Parameter& parameter : parameters) {
        if (parameter.kind != Host::ParameterKind::GroupEnd && parameter.group == group) {
            keys.push_back(parameter.name);
        }
    }
    return keys;
}

// Reads the value of a parameter, which messages call `name`.
void readValue(const Json& value, const Parameter& parameter, const std::string& name,
               ParameterValues& values) {
    const bool isPopup = parameter.kind == Host::ParameterKind::Popup;
    std::string hint;
    if (isPopup && value.is_string()) {
        const auto text = value.get<std::string>();
        const auto found = std::find(parameter.choices.begin(), parameter.choices.end(), text);
        if (found != parameter.choices.end()) {
            values.set(parameter.index, static_cast<double>(found - parameter.choices.begin()) + 1);
            return;
        }
        hint = nearestHint(text, parameter.choices);
    } else if (value.is_string() && parameter.varies &&
               Host::looksLikeKeyframes(value.get<std::string>())) {
        try {
            values.set(parameter.index,
                       Host::Keyframes::parse(value.get<std::string>(), parameter));
            return;
        } catch (const Host::KeyframesError& error) {
            throw Error(name + ": " + error.what() + ", at character " +
                        std::to_string(error.place() + 1) + " of " + valueText(value));
        }
    } else if (!isPopup && value.is_number() && parameter.accepts(value.get<double>())) {
        values.set(parameter.index, value.get<double>());
        return;
    }
    throw Error(name + " takes " + parameter.takes() +
                (parameter.varies ? ", or keyframes as a string" : "") + ", not " +
                valueText(value) + hint);
}

void readNamed(const std::string& group, const std::string& key, const Json& value,
               ParameterValues& values) {
    for (const Parameter& parameter : values.parameters()) {
        if (parameter.hasValue() && parameter.group == group && parameter.name == key) {
            readValue(value, parameter,
                      (group.empty() ? "" : inQuotes(group) + ", ") + inQuotes(key), values);
            return;
        }
    }
    refuseKey(key, group, keysOf(group, values.parameters()));
}

void readParameters(const Json& object, ParameterValues& values) {
    const std::vector<Parameter>& parameters = values.parameters();
    for (const auto& [key, value] : object.items()) {
        const bool isGroup = std::any_of(
            parameters.begin(), parameters.end(), [&key = key](const Parameter& parameter) {
                return parameter.kind == Host::ParameterKind::GroupStart && parameter.name == key;
            });
        if (!isGroup) {
            readNamed("", key, value, values);
            continue;
        }
        const std::string takes = "an object with " + quotedList(keysOf(key, parameters));
        for (const auto& [member, memberValue] : objectAt(object, key, takes).items()) {
            readNamed(key, member, memberValue, values);
        }
    }
}

Json jsonOf(const Parameter& parameter, const ParameterValues& values) {
    if (const Host::Keyframes* keyframes = values.keyframes(parameter.index)) {
        return keyframes->text();
    }
    const double value = values.constant(parameter.index).value();
    if (parameter.kind == Host::ParameterKind::Popup) {
        return parameter.valueText(value);
    }
    return Json::parse(Host::numberText(value)); // 30 rather than 30.0
}

} // namespace

void loadPreset(const std::filesystem::path& file, ParameterValues& values) {
    const std::string text = readText(file, "the preset", largestFile);
    try {
        const Json preset = parse(text);
        checkOutline(preset);
        ParameterValues changed = values;
        readParameters(objectAt(preset, parametersKey, "an object of the effect's parameters"),
                       changed);
        values = std::move(changed);
    } catch (const Error& error) {
        throw Error("the preset " + nameOf(file) + ": " + error.what());
    }
}

std::string presetText(const ParameterValues& values) {
    Json parameters = Json::object();
    for (const Parameter& parameter : values.parameters()) {
        if (parameter.hasValue()) {
            Json& place = parameter.group.empty() ? parameters : parameters[parameter.group];
            place[parameter.name] = jsonOf(parameter, values);
        }
    }
    const Json preset = {{versionKey, formatVersion}, {parametersKey, parameters}};
    return preset.dump(2, ' ', false) + "\n";
}

} // namespace Vexorel::PrismDrift::CommandLine

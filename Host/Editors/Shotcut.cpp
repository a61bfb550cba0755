#include "Host/Editors/Shotcut.h"

#include "Host/Library/Number.h"
#include "Host/Library/Text.h"
#include "Host/Presentation/Presentation.h"

#include <string_view>
#include <utility>

namespace Vexorel::PrismDrift::Host {
namespace {

std::string quoted(std::string_view text) {
    std::string result = "'";
    for (const char each : text) {
        if (each == '\'' || each == '\\') {
            result += '\\';
        }
        result += each;
    }
    return result + "'";
}

template <typename Get>
std::string list(const std::vector<Field>& fields, bool numbersOnly, const Get& get) {
    std::string result;
    for (const Field& field : fields) {
        if (!numbersOnly || !field.isList()) {
            result += (result.empty() ? "" : ", ") + get(field);
        }
    }
    return "[" + result + "]";
}

std::string propertyOf(const Field& field) {
    return quoted(field.property);
}

std::string defaultOf(const Field& field) {
    return field.isList() ? quoted(field.stored()) : field.stored();
}

using Words = std::vector<std::pair<std::string_view, std::string>>;

// The template with each @WORD@ replaced.
std::string filled(std::string_view pattern, const Words& words) {
    std::string result;
    const std::vector<std::string_view> parts = split(pattern, '@');
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i % 2 == 0) {
            result += parts[i];
            continue;
        }
        for (const auto& [word, text] : words) {
            result += word == parts[i] ? text : "";
        }
    }
    return result;
}

Words wordsOf(const Field& field) {
    std::string choices;
    for (const std::string& choice : field.choices) {
        choices += (choices.empty() ? "" : ", ") + quoted(choice);
    }
    return {{"id", "control" + field.property},
            {"property", quoted(field.property)},
            {"name", quoted(field.name)},
            {"hint", quoted(field.hint)},
            {"choices", "[" + choices + "]"},
            {"low", numberText(field.low)},
            {"high", numberText(field.high)},
            {"initial", numberText(field.initial)},
            {"factor", numberText(field.factor)},
            {"storedLow", numberText(field.low / field.factor)},
            {"storedHigh", numberText(field.high / field.factor)},
            {"decimals", std::to_string(field.decimals)},
            {"suffix", quoted(field.suffix)}};
}

constexpr std::string_view keyframedParameter = R"qml(            Parameter {
                name: @name@
                property: @property@
                isCurve: true
                minimum: @storedLow@
                maximum: @storedHigh@
            })qml";

constexpr std::string_view metadata = R"qml(import QtQuick 2.0
import org.shotcut.qml 1.0

Metadata {
    type: Metadata.Filter
    name: @name@
    keywords: 'rgb shift split chromatic aberration channel glitch analog'
    mlt_service: @service@
    qml: 'ui.qml'
    keyframes {
        allowAnimateIn: true
        allowAnimateOut: true
        simpleProperties: @properties@
        parameters: [
@parameters@
        ]
    }
}
)qml";

constexpr std::string_view label = R"qml(
        Label {
            text: @name@
            Layout.alignment: Qt.AlignRight
            Shotcut.HoverTip { text: @hint@ }
        }
)qml";

constexpr std::string_view listRow = R"qml(        Shotcut.ComboBox {
            id: @id@
            implicitWidth: 120
            model: @choices@
            onActivated: filter.set(@property@, model[index])
            function show() { currentIndex = Math.max(model.indexOf(filter.get(@property@)), 0) }
        }
        Shotcut.UndoButton {
            Layout.columnSpan: 2
            onClicked: filter.set(@property@, @id@.model[@initial@])
        }
)qml";

constexpr std::string_view numberRow = R"qml(        Shotcut.SliderSpinner {
            id: @id@
            minimumValue: @low@
            maximumValue: @high@
            decimals: @decimals@
            stepSize: 0.1
            suffix: @suffix@
            onValueChanged: updateFilter(@property@, value / @factor@, @id@Keyframes, getPosition())
            function show(position) {
                value = filter.getDouble(@property@, position) * @factor@
                @id@Keyframes.checked = filter.animateIn <= 0 && filter.animateOut <= 0
                        && filter.keyframeCount(@property@) > 0
            }
            function restart() { updateFilter(@property@, value / @factor@, @id@Keyframes, null) }
        }
        Shotcut.UndoButton { onClicked: @id@.value = @initial@ }
        Shotcut.KeyframesButton {
            id: @id@Keyframes
            onToggled: {
                allow(true)
                toggleKeyframes(checked, @property@, @id@.value / @factor@)
            }
        }
)qml";

constexpr std::string_view panel = R"qml(import QtQuick 2.12
import QtQuick.Controls 2.12
import QtQuick.Layouts 1.12
import Shotcut.Controls 1.0 as Shotcut

Shotcut.KeyframableFilter {
    property var properties: @properties@
    property var defaults: @defaults@
    property var sliders: @sliders@

    keyframableParameters: @numbers@
    startValues: @initials@
    middleValues: @initials@
    endValues: @initials@
    width: 400
    height: 400

    function allow(enabled) {
        for (var i in sliders)
            sliders[i].enabled = enabled
    }

    function setControls() {
        var position = getPosition()
        blockUpdate = true
        @lists@
        for (var i in sliders)
            sliders[i].show(position)
        blockUpdate = false
        allow(isSimpleKeyframesActive())
    }

    function updateSimpleKeyframes() {
        setControls()
        for (var i in sliders)
            sliders[i].restart()
    }

    // A project of another program need not set everything.
    Component.onCompleted: {
        for (var i in properties) {
            if (filter.isNew || filter.get(properties[i]) === '')
                filter.set(properties[i], defaults[i])
        }
        if (filter.isNew)
            filter.savePreset(properties)
        else
            initializeSimpleKeyframes()
        setControls()
    }

    GridLayout {
        anchors.fill: parent
        anchors.margins: 8
        columns: 4

        Label {
            text: qsTr('Preset')
            Layout.alignment: Qt.AlignRight
        }
        Shotcut.Preset {
            parameters: properties
            Layout.columnSpan: 3
            onBeforePresetLoaded: resetSimpleKeyframes()
            onPresetSelected: {
                setControls()
                initializeSimpleKeyframes()
            }
        }
@rows@
        Item { Layout.fillHeight: true }
    }

    Connections {
        target: filter
        function onChanged() { setControls() }
        function onInChanged() { updateSimpleKeyframes() }
        function onOutChanged() { updateSimpleKeyframes() }
        function onAnimateInChanged() { updateSimpleKeyframes() }
        function onAnimateOutChanged() { updateSimpleKeyframes() }
        function onPropertyChanged(name) { setControls() }
    }

    Connections {
        target: producer
        function onPositionChanged() { setControls() }
    }
}
)qml";

} // namespace

std::string shotcutMetadata(const std::string& service, const std::vector<Field>& fields) {
    std::string parameters;
    for (const Field& field : fields) {
        if (!field.isList()) {
            parameters +=
                (parameters.empty() ? "" : ",\n") + filled(keyframedParameter, wordsOf(field));
        }
    }
    return filled(metadata, {{"name", quoted(effectName)},
                             {"service", quoted(service)},
                             {"properties", list(fields, true, propertyOf)},
                             {"parameters", parameters}});
}

std::string shotcutPanel(const std::vector<Field>& fields) {
    std::string rows;
    std::string lists;
    for (const Field& field : fields) {
        const Words words = wordsOf(field);
        rows += filled(label, words) + filled(field.isList() ? listRow : numberRow, words);
        lists += field.isList() ? filled("@id@.show()", words) : "";
    }
    return filled(
        panel, {{"properties", list(fields, false, propertyOf)},
                {"defaults", list(fields, false, defaultOf)},
                {"sliders",
                 list(fields, true, [](const Field& field) { return "control" + field.property; })},
                {"numbers", list(fields, true, propertyOf)},
                {"initials", list(fields, true, defaultOf)},
                {"lists", lists},
                {"rows", rows}});
}

} // namespace Vexorel::PrismDrift::Host

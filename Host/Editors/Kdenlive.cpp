#include "Host/Editors/Kdenlive.h"

#include "Host/Library/Number.h"
#include "Host/Presentation/Presentation.h"

#include <string_view>

namespace Vexorel::PrismDrift::Host {
namespace {

std::string escaped(std::string_view text) {
    std::string result;
    for (const char each : text) {
        switch (each) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += each;
        }
    }
    return result;
}

std::string attribute(std::string_view name, std::string_view value) {
    return " " + std::string(name) + "=\"" + escaped(value) + "\"";
}

std::string element(std::string_view name, std::string_view text) {
    const std::string tag(name);
    return "<" + tag + ">" + escaped(text) + "</" + tag + ">\n";
}

std::string joined(const std::vector<std::string>& texts, char separator) {
    std::string result;
    for (const std::string& text : texts) {
        result += (result.empty() ? "" : std::string(1, separator)) + text;
    }
    return result;
}

std::string parameter(const Field& field) {
    const char* type = field.isList() ? "list" : (field.varies ? "animated" : "constant");
    std::string text = "    <parameter" + attribute("type", type) +
                       attribute("name", field.property) + attribute("default", field.stored());
    if (field.isList()) {
        text += attribute("paramlist", joined(field.choices, ';')) + ">\n        " +
                element("paramlistdisplay", joined(field.choices, ','));
    } else {
        text += attribute("min", numberText(field.low)) + attribute("max", numberText(field.high)) +
                attribute("factor", numberText(field.factor)) +
                attribute("decimals", std::to_string(field.decimals)) +
                attribute("suffix", field.suffix) + ">\n";
    }
    return text + "        " + element("name", field.name) + "        " +
           element("comment", field.hint) + "    </parameter>\n";
}

} // namespace

std::string kdenliveEffect(const std::string& service, const std::string& name,
                           const std::vector<Field>& fields) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE kpartgui>\n<effect" +
                       attribute("LC_NUMERIC", "C") + attribute("tag", service) +
                       attribute("id", service) + ">\n    " + element("name", name) + "    " +
                       element("description", effectSummary) + "    " +
                       element("author", effectAuthor);
    for (const Field& field : fields) {
        text += parameter(field);
    }
    return text + "</effect>\n";
}

} // namespace Vexorel::PrismDrift::Host

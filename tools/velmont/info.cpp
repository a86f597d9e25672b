#include "info.h"
#include "field_value.h"
#include "text.h"
#include <algorithm>

namespace velmont::cli {

namespace {

using catalogue::Effect;
using catalogue::Field;

std::string fieldsText(const Effect &effect)
{
    if (effect.fields.empty())
        return "  none\n";
    std::size_t width = 0;
    for (const Field &field : effect.fields)
        width = std::max(width, field.name.size());
    std::string text;
    for (const Field &field : effect.fields) {
        const bool plain = field.unit.empty() || isColour(field);
        const std::string unit = plain ? "" : concat("; unit: ", field.unit);
        text += concat("  ", field.name, std::string(width - field.name.size(), ' '), "  ", field.help, "\n");
        text += concat(std::string(width + 4, ' '), describeValues(field), unit,
                       "; default: ", formatValue(field, field.defaultValue), "\n");
    }
    return text;
}

std::string operandsText(const Effect &effect)
{
    if (effect.operands.empty())
        return {};
    std::string text = "\npictures beside the image\n";
    for (const catalogue::Operand &operand : effect.operands)
        text += concat("  ", operand.name, "=FILE  ", operand.help, operand.isResult ? "; written" : "; read",
                       ": ", catalogue::kindName(operand.kind), "\n");
    return text;
}

/// With every field at its default. The quotes keep a shell from reading a colour.
std::string exampleText(const Effect &effect)
{
    std::string command = concat("velmont apply ", effect.name);
    for (const Field &field : effect.fields) {
        const std::string word = concat(field.name, "=", formatValue(field, field.defaultValue));
        command += word.find('#') == std::string::npos ? concat(" ", word) : concat(" '", word, "'");
    }
    for (const catalogue::Operand &operand : effect.operands)
        command += concat(" ", operand.name, "=", operand.name, ".png");
    return concat(command, " photo.png -o result.png");
}

} // namespace

std::string infoText(const Effect &effect)
{
    const std::string code = effect.code ? std::to_string(*effect.code) : std::string("none, by name only");
    return concat(effect.name, ": ", effect.help, "\n\n",                          //
                  "family   ", catalogue::familyName(effect.family), "\n",         //
                  "export   ", effect.exportName, "\n",                            //
                  "code     ", code, "\n",                                         //
                  "depths   ", catalogue::depthNames(effect.depths), "\n",         //
                  "random   ", effect.random ? "yes, draws random numbers" : "no", //
                  "\n\nfields\n", fieldsText(effect), operandsText(effect),        //
                  "\nexample\n  ", exampleText(effect), "\n");
}

} // namespace velmont::cli
